#include "CommandLine.h"

#include "Commands.h"
#include "Version.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <iterator>

namespace smsctl {

namespace {

/// The text of an argument; "-" stands for standard input, whose last line end does not count.
std::string TextOf(const std::string& argument) {
  if (argument != "-") {
    return argument;
  }
  std::string text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
  if (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text;
}

const char kEpilogue[] =
    "Examples:\n"
    "  smsctl demo\n"
    "  smsctl count \"How much does this cost?\"\n"
    "  smsctl send --device /dev/ttyUSB2 --to +491701234567 \"Hello\"\n"
    "  smsctl status --device /dev/ttyUSB2\n"
    "Exit status: 0 done, 1 not done (standard error says why), 2 bad command line, 130 cancelled.";

}  // namespace

int Run(int argc, char** argv) {
  CLI::App app("SMS over a mobile-data modem.", "smsctl");
  app.set_version_flag("--version", host::kVersionLine);
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kEpilogue);
  host::HostOptions options;
  host::AddHostOptions(app, options);

  std::string recipients;
  std::string text;
  CLI::App* const demo = app.add_subcommand("demo", "show the main journeys on a simulated modem");
  CLI::App* const send = app.add_subcommand("send", "send a text to one or more numbers");
  send->add_option("--to", recipients, "numbers, separated by \",\" or \";\"")->required()->type_name("NUMBERS");
  send->add_option("text", text, "the text, or - to read it from standard input")->required();
  CLI::App* const count = app.add_subcommand("count", "how many messages a text costs");
  count->add_option("text", text, "the text, or - to read it from standard input")->required();
  CLI::App* const status = app.add_subcommand("status", "what modem, SIM, network and stores say");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kBadUsage;
  }
  if (*demo) {
    return Demo(options);
  }
  host::ApplyHostOptions(options, "smsctl");
  if (*send) {
    return Send(options, recipients, TextOf(text));
  }
  if (*count) {
    return Count(options, TextOf(text));
  }
  return *status ? Status(options) : kBadUsage;
}

}  // namespace smsctl
