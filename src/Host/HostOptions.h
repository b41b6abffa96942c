// Options that every program with a host in it has: which modem, which files, how much to say.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace host {

struct HostOptions {
  std::string device;
  std::string settingsFile;
  std::string dataDir;
  std::string logFile;
  std::string recordFile;
  bool unmasked = false;
  bool verbose = false;
};

/// Adds the options, and the environment variables that stand for them, to a command line. `options` must outlive it.
void AddHostOptions(CLI::App& app, HostOptions& options);

/// Puts them in force for the process: paths, the device, and what reaches the terminal: lines of grave faults, or the
/// whole trace with --verbose. Call before a CHostSession is started.
/// @param program  name in front of each such line.
void ApplyHostOptions(const HostOptions& options, const std::string& program);

/// Whether a grave fault has reached the terminal, so that nobody needs to say it again.
bool IsGraveFaultTold();

}  // namespace host
