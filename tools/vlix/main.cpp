// SPDX-License-Identifier: Apache-2.0
// vlix: measures image files.
#include <cstdio>
#include <exception>
#include <new>

#include "commands/commands.h"
#include "errors.h"
#include "output/sink.h"
#include "supervise.h"

namespace {

int run(const Action& action) {
  remove_unfinished_files_on_signals();
  Session session;
  try {
    return action(session);
  } catch (const UsageError& error) {
    session.console.error(error.what());
    return kExitUsage;
  } catch (const std::bad_alloc&) {
    session.console.error("not enough memory");
  } catch (const std::exception& error) {
    session.console.error(error.what());
  }
  return kExitFailed;
}

// Help and version texts go to standard output, complaints to standard error.
int answer(const CLI::App& tool, const CLI::ParseError& reason) {
  if (reason.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return tool.exit(reason);
  std::fprintf(stderr, "vlix: %s (see vlix --help)\n", printable(reason.what()).c_str());
  return kExitUsage;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App tool("Measures image files: statistics, histograms, matches, profiles, lines and circles.", "vlix");
  tool.set_version_flag("--version", "vlix " VLIX_VERSION);
  tool.require_subcommand(1);
  tool.footer("Example:\n  vlix stats --format csv plate.png scan.tif\n\nvlix COMMAND --help explains each command.");
  Action action;
  add_commands(tool, action);
  try {
    tool.parse(argc, argv);
  } catch (const CLI::ParseError& reason) {
    return answer(tool, reason);
  }
  return supervised([&] { return run(action); });
}
