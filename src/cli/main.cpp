#include <new>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "cli/terminal.h"

int main(int argc, char** argv) {
  using namespace ctfmeg::cli;
  prepareProcess();
  stopWaitingWhen(interrupted);
  try {
    return runCommandLine(programArguments(argc, argv));
  } catch (const Interrupted&) {
    return kInterrupted;
  } catch (const CommandError& error) {
    say(error.path(), error.what());
  } catch (const std::bad_alloc&) {
    say("", "there is not enough memory");
  } catch (const std::exception& error) {
    say("", error.what());
  }
  return kFailed;
}
