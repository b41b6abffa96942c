// sms-host: the host of one modem as a program of its own. Runs until it is told to end.

#include "HostOptions.h"
#include "HostSession.h"
#include "Version.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>

namespace {

const int kBadUsage = 2;

/// Blocks the ending signals in all threads to come, so that WaitForEnd can take them.
sigset_t BlockEndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

void WaitForEnd(const sigset_t& signals) {
  int signal = 0;
  sigwait(&signals, &signal);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("The host of one modem: loads the plug-ins and keeps the SMS service running until SIGINT or SIGTERM.",
               "sms-host");
  app.set_version_flag("--version", host::kVersionLine);
  host::HostOptions options;
  host::AddHostOptions(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kBadUsage;
  }

  const sigset_t signals = BlockEndingSignals();
  host::ApplyHostOptions(options, "sms-host");
  host::CHostSession session(host::Modem::kConfigured, !options.settingsFile.empty());
  std::string error;
  if (!session.Start(error)) {
    std::fprintf(stderr, "sms-host: %s\n", error.c_str());
    return 1;
  }
  WaitForEnd(signals);
  session.Stop();
  return 0;
}
