// SPDX-License-Identifier: Apache-2.0
// Runs a fuzz target without a fuzzer: every committed input, then a fixed number of mutations of them. A failure names
// its input and leaves it in a file, which can be given in place of the corpus.
//   replay [--seed N] [--count N] DIRECTORY_OR_FILE...
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<uint8_t>;

constexpr std::size_t kLongest = 4096;

// What runs now, for the handler.
const Input* g_input = nullptr;
const char* g_file = nullptr;

void on_failure(int number) {
  static const char text[] = "the input that failed is in ";
  const char* const name = g_file;
  std::FILE* file = std::fopen(name, "wb");
  if (file != nullptr) {
    std::fwrite(g_input->data(), 1, g_input->size(), file);
    std::fclose(file);
  }
  (void)!write(2, text, sizeof(text) - 1);
  (void)!write(2, name, std::strlen(name));
  (void)!write(2, "\n", 1);
  std::signal(number, SIG_DFL);
  std::raise(number);
}

void run(const Input& input) {
  g_input = &input;
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

Input read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    std::exit(2);
  }
  return Input(std::istreambuf_iterator<char>(file), {});
}

std::vector<Input> read_all(const std::vector<std::string>& names) {
  std::vector<std::filesystem::path> files;
  for (const std::string& name : names) {
    if (!std::filesystem::is_directory(name)) {
      files.emplace_back(name);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(name)) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<Input> inputs;
  for (const auto& file : files) inputs.push_back(read(file));
  return inputs;
}

class Mutator {
 public:
  Mutator(const std::vector<Input>& inputs, uint64_t seed) : inputs_(inputs), random_(seed) {}

  Input next() {
    Input input = any();
    for (std::size_t changes = 1 + below(8); changes > 0; --changes) change(input);
    input.resize(std::min(input.size(), kLongest));
    return input;
  }

 private:
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(random_() % n); }
  uint8_t byte() { return static_cast<uint8_t>(random_()); }
  Input any() {
    if (!inputs_.empty() && below(4) != 0) return inputs_[below(inputs_.size())];
    Input noise(below(600));
    std::generate(noise.begin(), noise.end(), [&] { return byte(); });
    return noise;
  }
  void change(Input& input) {
    const auto at = static_cast<std::ptrdiff_t>(below(input.size() + 1));
    if (static_cast<std::size_t>(at) == input.size()) {
      input.push_back(byte());
      return;
    }
    switch (below(6)) {
      case 0: input[static_cast<std::size_t>(at)] = byte(); break;
      case 1: input[static_cast<std::size_t>(at)] ^= static_cast<uint8_t>(1u << below(8)); break;
      case 2: input[static_cast<std::size_t>(at)] = below(2) == 0 ? 0 : 255; break;
      case 3: input.insert(input.begin() + at, byte()); break;
      case 4: input.erase(input.begin() + at); break;
      default: {
        const Input other = any();
        input.erase(input.begin() + at, input.end());
        input.insert(input.end(), other.begin() + static_cast<std::ptrdiff_t>(below(other.size() + 1)), other.end());
      }
    }
  }

  const std::vector<Input>& inputs_;
  std::mt19937_64 random_;
};

uint64_t number(const char* text) {
  uint64_t value = 0;
  const char* const end = text + std::strlen(text);
  if (std::from_chars(text, end, value).ptr != end) {
    std::fprintf(stderr, "not a number: %s\n", text);
    std::exit(2);
  }
  return value;
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t seed = 1;
  uint64_t count = 20000;
  std::vector<std::string> names;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--seed") == 0 && i + 1 < argc) {
      seed = number(argv[++i]);
    } else if (std::strcmp(argv[i], "--count") == 0 && i + 1 < argc) {
      count = number(argv[++i]);
    } else {
      names.emplace_back(argv[i]);
    }
  }
  const std::string failure = std::filesystem::path(argv[0]).filename().string() + ".failed_input";
  g_file = failure.c_str();
  for (const int fatal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(fatal, on_failure);

  const std::vector<Input> inputs = read_all(names);
  for (const Input& input : inputs) run(input);
  Mutator mutator(inputs, seed);
  for (uint64_t i = 0; i < count; ++i) run(mutator.next());
  std::printf("%zu inputs and %llu mutations of them with seed %llu\n", inputs.size(),
              static_cast<unsigned long long>(count), static_cast<unsigned long long>(seed));
  return 0;
}
