/// \file
/// The program `estoc`.
#include "CommandLine.h"
#include "Run.h"
#include "process/Program.h"
#include "process/Signals.h"

#include <new>
#include <system_error>

int main(int argc, char** argv) {
  const process::Ticks start = process::wallTicks();
  process::begin({.prefix = "estoc: "});
  std::set_new_handler(
      nullptr); // exhausted memory is an exception: the solution found is to be told
  process::catchStopSignals(process::Watchdog::request);
  try {
    Run(parseCommandLine(argc, argv), start).perform();
  } catch (const std::bad_alloc&) {
    process::outOfMemory();
  } catch (const std::system_error&) { // no thread, no pipe
    process::outOfMemory();
  }
}
