#include "CommandLine.h"

#include "Boxes.h"
#include "Commands.h"
#include "Text.h"
#include "Version.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <iterator>
#include <utility>
#include <vector>

namespace smsctl {

namespace {

const char kEpilogue[] =
    "Examples:\n"
    "  smsctl demo\n"
    "  smsctl count \"How much does this cost?\"\n"
    "  smsctl send --device /dev/ttyUSB2 --to +491701234567 \"Hello\"\n"
    "  smsctl list --box receive\n"
    "  smsctl modems\n"
    "  smsctl watch --device auto\n"
    "Exit status: 0 done, 1 not done (standard error says why), 2 bad command line, 130 cancelled.";

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

/// The whole command line: what can be said, and what is done about it.
class CCommandLine {
public:
  CCommandLine();
  int Run(int argc, char** argv);

private:
  typedef std::function<int()> Action;

  CLI::App* Add(CLI::App& parent, const char* name, const char* help, const Action& run);
  int WithText(const std::function<int(const std::string& text)>& run) const;
  void AddSending();
  void AddMessages();
  void AddModemAndSettings();
  void AddText(CLI::App* command);
  void AddId(CLI::App* command);
  void AddStore(CLI::App* command);
  void AddBox(CLI::App* command, const std::vector<std::string>& boxes);

  CLI::App m_app;
  host::HostOptions m_options;
  std::vector<std::pair<CLI::App*, Action>> m_commands;
  // arguments, shared by the commands that have them
  std::string m_recipients;
  std::string m_text;
  std::string m_store = "local";
  std::string m_box;
  std::string m_name;
  std::string m_value;
  long m_id = 0;
};

CCommandLine::CCommandLine() : m_app("SMS over a mobile-data modem.", "smsctl") {
  m_app.set_version_flag("--version", host::kVersionLine);
  m_app.require_subcommand(1);
  m_app.fallthrough();
  m_app.footer(kEpilogue);
  host::AddHostOptions(m_app, m_options);
  AddSending();
  AddMessages();
  AddModemAndSettings();
}

CLI::App* CCommandLine::Add(CLI::App& parent, const char* name, const char* help, const Action& run) {
  CLI::App* const command = parent.add_subcommand(name, help);
  m_commands.emplace_back(command, run);
  return command;
}

int CCommandLine::WithText(const std::function<int(const std::string& text)>& run) const {
  const std::string text = TextOf(m_text);
  return IsUtf8(text) ? run(text)
                      : Fail("the text is not in UTF-8; set the terminal to UTF-8, or convert the text with iconv");
}

void CCommandLine::AddText(CLI::App* command) {
  command->add_option("text", m_text, "the text, or - to read it from standard input")->required();
}

void CCommandLine::AddId(CLI::App* command) {
  command->add_option("id", m_id, "identifier of the message, as listed")
      ->required()
      ->type_name("ID")
      ->check(CLI::Range(0L, 0xFFFFFFFFL));
}

void CCommandLine::AddStore(CLI::App* command) {
  command->add_option("--store", m_store, "where the message is: local, sim or modem")
      ->check(CLI::IsMember({"local", "sim", "modem"}));
}

void CCommandLine::AddBox(CLI::App* command, const std::vector<std::string>& boxes) {
  command->add_option("--box", m_box, "a box of the local store")->check(CLI::IsMember(boxes));
}

void CCommandLine::AddSending() {
  Add(m_app, "demo", "show the main journeys on a simulated modem", [this] { return Demo(m_options); });
  CLI::App* const send = Add(m_app, "send", "send a text to one or more numbers", [this] {
    return WithText([this](const std::string& text) { return Send(m_options, m_recipients, text); });
  });
  send->add_option("--to", m_recipients, "numbers, separated by \",\" or \";\"")->required()->type_name("NUMBERS");
  AddText(send);
  AddText(Add(m_app, "count", "how many messages a text costs",
              [this] { return WithText([this](const std::string& text) { return Count(m_options, text); }); }));
  AddText(Add(m_app, "phonebook-size", "how much room a name takes on the SIM",
              [this] { return WithText([this](const std::string& text) { return PhonebookSize(m_options, text); }); }));
}

void CCommandLine::AddMessages() {
  CLI::App* const list = Add(m_app, "list", "list messages", [this] { return List(m_options, m_store, m_box); });
  AddStore(list);
  AddBox(list, LocalBoxNames());
  CLI::App* const show = Add(m_app, "show", "show a message whole", [this] { return Show(m_options, m_store, m_id); });
  AddId(show);
  AddStore(show);
  CLI::App* const save = Add(m_app, "save", "keep a text in a local box", [this] {
    return WithText([this](const std::string& text) { return Save(m_options, m_box, m_recipients, text); });
  });
  AddBox(save, LocalBoxNames());
  save->get_option("--box")->required();
  save->add_option("--to", m_recipients, "number of the other party")->type_name("NUMBER");
  AddText(save);
  CLI::App* const read =
      Add(m_app, "read", "mark a message read", [this] { return MarkRead(m_options, m_store, m_id); });
  AddId(read);
  AddStore(read);
  CLI::App* const remove = Add(m_app, "delete", "put a message into the recycle box (SIM and modem: remove it)",
                               [this] { return Delete(m_options, m_store, m_id); });
  AddId(remove);
  AddStore(remove);
  CLI::App* const forGood =
      Add(m_app, "remove", "remove a message for good", [this] { return Remove(m_options, m_store, m_id); });
  AddId(forGood);
  AddStore(forGood);
  CLI::App* const move =
      Add(m_app, "move", "move a local message to another box", [this] { return Move(m_options, m_id, m_box); });
  AddId(move);
  AddBox(move, LocalBoxNames());
  move->get_option("--box")->required();
  Add(m_app, "info", "capacity and use of the stores", [this] { return Info(m_options); });
  CLI::App* const pull = Add(m_app, "pull", "move every message of the SIM or the modem to the local store",
                             [this] { return Pull(m_options, m_name); });
  pull->add_option("store", m_name, "sim or modem")->required()->check(CLI::IsMember({"sim", "modem"}));
  Add(m_app, "watch", "show what happens until Ctrl-C", [this] { return Watch(m_options); });
}

void CCommandLine::AddModemAndSettings() {
  Add(m_app, "modems", "list the modems that are plugged in", [] { return Modems(); });
  Add(m_app, "status", "what modem, SIM, network and stores say", [this] { return Status(m_options); });
  CLI::App* const settings = m_app.add_subcommand("settings", "read and write the message settings");
  settings->require_subcommand(1);
  CLI::App* const get =
      Add(*settings, "get", "print one setting, or all", [this] { return GetSettings(m_options, m_name); });
  get->add_option("name", m_name, "name of the setting");
  CLI::App* const set =
      Add(*settings, "set", "write one setting", [this] { return SetSetting(m_options, m_name, m_value); });
  set->add_option("name", m_name, "name of the setting")->required();
  set->add_option("value", m_value, "the value")->required();
  CLI::App* const channels =
      Add(m_app, "channels", "cell-broadcast channels", [this] { return Channels(m_options, m_name, m_value); });
  channels->add_option("action", m_name, "list, add, remove, on or off")
      ->required()
      ->check(CLI::IsMember({"list", "add", "remove", "on", "off"}));
  channels->add_option("channels", m_value, "channels for add and remove, for example 50,4352-4359");
}

int CCommandLine::Run(int argc, char** argv) {
  try {
    m_app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return m_app.exit(error) == 0 ? kDone : kBadUsage;
  }
  host::ApplyHostOptions(m_options, "smsctl");
  for (const auto& command : m_commands) {
    if (command.first->parsed()) {
      return command.second();
    }
  }
  return kBadUsage;
}

}  // namespace

int Run(int argc, char** argv) { return CCommandLine().Run(argc, argv); }

}  // namespace smsctl
