// SPDX-License-Identifier: Apache-2.0
// Documents whose figures tests compute again. VLIX_DOCS names their folder.
#pragma once

#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vlix::test {

// With as many digits as "%g" is told.
template <class Number>
std::string figure(Number number, int digits = 9) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*g", digits, static_cast<double>(number));
  return text[0] == '-' && text[1] == 'n' ? "nan" : text;
}

// As documents show lists: "1, 2, 3".
template <class Number>
std::string figures(const std::vector<Number>& numbers, int digits = 9) {
  std::string text;
  for (const Number number : numbers) text += (text.empty() ? "" : ", ") + figure(number, digits);
  return text;
}

// One section, from its heading to the next one, without line breaks.
class Section {
 public:
  Section(const std::string& document, const std::string& heading) {
    std::ifstream file(std::string(VLIX_DOCS) + "/" + document);
    std::string line;
    bool inside = false;
    while (std::getline(file, line)) {
      if (!line.empty() && line[0] == '#') {
        inside = line.substr(line.find_first_not_of("# ")) == heading;
        found_ = found_ || inside;
      } else if (inside) {
        text_ += line + " ";
      }
    }
  }

  bool is_there() const { return found_; }
  // A figure stands between backticks.
  bool states(const std::string& figure_text) const { return text_.find("`" + figure_text + "`") != std::string::npos; }
  // Anything else stands there as it is.
  bool says(const std::string& words) const { return text_.find(words) != std::string::npos; }

 private:
  bool found_ = false;
  std::string text_;
};

}  // namespace vlix::test
