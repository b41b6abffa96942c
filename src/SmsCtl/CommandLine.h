// The command line: parses it and runs one command.
#pragma once

namespace smsctl {

/// Exit statuses of every command.
enum ExitStatus {
  kDone = 0,
  kNotDone = 1,   // the command could not do its job; standard error says why
  kBadUsage = 2,  // the command line makes no sense
  kCancelled = 130
};

/// @return exit status of the process.
int Run(int argc, char** argv);

}  // namespace smsctl
