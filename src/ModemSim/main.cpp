// modem-sim: a simulated modem on a pseudo-terminal or a TCP port.
#include "ControlSocket.h"
#include "FaultRequest.h"
#include "LoopbackPort.h"
#include "PtyPort.h"
#include "Recorder.h"
#include "Replay.h"
#include "SimulatedModem.h"

#include <CLI/CLI.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

namespace {

using modem_sim::CardState;
using modem_sim::ModemOptions;
using modem_sim::NetworkState;

const int kUsageError = 2;
const int kLastWordsMs = 100;
const int kLongestMs = 600000;

struct Arguments {
  ModemOptions modem;
  std::string link;
  std::string control;
  std::string record;
  std::string replay;
  bool unmasked = false;
  int tcp = -1;  // no TCP
  bool exitWithStdin = false;
};

std::string CheckNumber(const std::string& number) {
  sms_pdu::Address address;
  const bool dialled = sms_pdu::MakeAddress(number.c_str(), &address) == sms_pdu::PduError::None &&
                       address.length != 0 && address.typeOfNumber != sms_pdu::kTonAlphanumeric;
  return dialled ? "" : "\"" + number + "\" is no number; write digits, with a + in front when international";
}

/// NAME=NUMBER
bool Divide(const std::string& text, int lowest, int highest, std::string* name, int* number) {
  const std::size_t sign = text.find('=');
  if (sign == std::string::npos || sign == 0) return false;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + sign + 1, end, *number);
  *name = text.substr(0, sign);
  return error == std::errc() && stop == end && *number >= lowest && *number <= highest;
}

std::string TakeRefusal(const std::string& text, ModemOptions* options) {
  std::string number;
  int code = 0;
  if (!Divide(text, 1, 999, &number, &code)) return "\"" + text + "\" is not NUMBER=CODE with a code of 1 to 999";
  options->refusals[number] = code;
  return CheckNumber(number);
}

std::string TakeLatency(const std::string& text, ModemOptions* options) {
  std::string command;
  int milliseconds = 0;
  if (!Divide(text, 0, kLongestMs, &command, &milliseconds)) {
    return "\"" + text + "\" is not COMMAND=MS, +COPS=3000, with at most " + std::to_string(kLongestMs) + " ms";
  }
  for (char& c : command) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  options->latencies[command] = milliseconds;
  return "";
}

std::string TakeFault(const std::string& text, ModemOptions* options) {
  modem_sim::Fault fault;
  std::string error;
  if (!modem_sim::ParseFault(text, &fault, &error)) return error;
  options->faults.push_back(fault);
  return "";
}

std::string CheckPath(const std::string& path) { return path.empty() ? "a path must not be empty" : ""; }

std::string CheckPin(const std::string& pin) {
  const bool digits = pin.find_first_not_of("0123456789") == std::string::npos;
  return digits && pin.size() >= 4 && pin.size() <= 8 ? "" : "a PIN or PUK has 4 to 8 digits";
}

void RefuseNth(int nth, ModemOptions* options) {
  modem_sim::Fault fault;
  fault.every = nth;
  fault.times = 1;
  options->faults.push_back(fault);
}

/// An option that may be given several times; take answers what is wrong.
void AddRepeated(CLI::App* app, const std::string& name, const std::string& form, const std::string& help,
                 ModemOptions* options, std::string (*take)(const std::string&, ModemOptions*)) {
  const auto takeAll = [name, options, take](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      const std::string error = take(text, options);
      if (!error.empty()) throw CLI::ValidationError(name, error);
    }
  };
  app->add_option_function<std::vector<std::string>>(name, takeAll, help + "; may be given several times")
      ->type_name(form)
      ->allow_extra_args(false);
}

void DescribePorts(CLI::App* app, Arguments* arguments) {
  const CLI::Validator path(CheckPath, "");
  CLI::Option* const link =
      app->add_option("--link", arguments->link, "make a symbolic link to the port, removed at the end");
  link->type_name("PATH")->check(path);
  app->add_option("--tcp", arguments->tcp, "listen on this port of 127.0.0.1 instead of a pseudo-terminal; 0: any")
      ->check(CLI::Range(0, 65535))
      ->excludes(link);
  app->add_option("--control", arguments->control, "make a Unix socket that takes requests as JSON, one a line")
      ->type_name("PATH")
      ->check(path);
  CLI::Option* const record = app->add_option("--record", arguments->record, "keep the dialogue in a file");
  record->type_name("FILE")->check(path);
  app->add_flag("--unmasked", arguments->unmasked, "keep numbers, texts and PINs as they are")->needs(record);
  app->add_option("--replay", arguments->replay,
                  "play the modem's side of a kept dialogue, say where the other differs")
      ->type_name("FILE")
      ->check(path)
      ->excludes(record)
      ->excludes("--control");
  app->add_flag("--exit-with-stdin", arguments->exitWithStdin, "end when the standard input is closed");
}

void DescribeDevice(CLI::App* app, ModemOptions* modem) {
  const CLI::Validator number(CheckNumber, "NUMBER");
  app->add_option_function<std::string>(
         "--profile", [modem](const std::string& name) { modem->profile = modem_sim::FindProfile(name); },
         "family of modems to be one of (wcdma)")
      ->check(CLI::IsMember(modem_sim::ProfileNames()));
  app->add_option("--number", modem->number, "the modem's own number; what is sent to it comes back")
      ->check(number)
      ->capture_default_str();
  app->add_option("--smsc", modem->serviceCentre, "number of the service centre")->check(number)->capture_default_str();
  app->add_option("--sim-capacity", modem->simCapacity, "messages that the card holds")
      ->check(CLI::Range(0, 255))
      ->capture_default_str();
  app->add_option("--me-capacity", modem->meCapacity, "messages that the modem's own memory holds")
      ->check(CLI::Range(0, 10000))
      ->capture_default_str();
  app->add_flag("--sim-full", modem->simFull, "the card is full at the start");
  app->add_flag("--me-full", modem->meFull, "the modem's own memory is full at the start");
}

void DescribeState(CLI::App* app, ModemOptions* modem) {
  static const std::map<std::string, NetworkState> kNetworks = {{"home", NetworkState::Home},
                                                                {"roaming", NetworkState::Roaming},
                                                                {"searching", NetworkState::Searching},
                                                                {"denied", NetworkState::Denied},
                                                                {"none", NetworkState::None}};
  static const std::map<std::string, CardState> kCards = {{"ready", CardState::Ready},
                                                          {"pin", CardState::Pin},
                                                          {"puk", CardState::Puk},
                                                          {"absent", CardState::Absent},
                                                          {"busy", CardState::Busy}};
  const CLI::Validator pin(CheckPin, "DIGITS");
  app->add_option("--pin", modem->pin, "lock the card with this PIN")->check(pin);
  app->add_option("--puk", modem->puk, "what takes the block off the card")->check(pin)->capture_default_str();
  app->add_option_function<std::string>(
         "--sim", [modem](const std::string& word) { modem->card = kCards.at(word); }, "state of the card (ready)")
      ->check(CLI::IsMember(kCards));
  CLI::Option* const network = app->add_option_function<std::string>(
      "--network", [modem](const std::string& word) { modem->network = kNetworks.at(word); },
      "state of the network (home)");
  network->check(CLI::IsMember(kNetworks));
  app->add_flag_callback(
         "--no-network", [modem] { modem->network = NetworkState::Searching; }, "the same as --network searching")
      ->excludes(network);
  app->add_option("--signal", modem->signal, "signal strength, 0 to 31")
      ->check(CLI::Range(0, 31))
      ->capture_default_str();
}

void DescribeBehaviour(CLI::App* app, ModemOptions* modem) {
  app->add_option("--latency", modem->latencyMs, "milliseconds before the verdict of a send")
      ->check(CLI::Range(0, kLongestMs))
      ->capture_default_str();
  AddRepeated(app, "--latency-of", "COMMAND=MS", "milliseconds before a command is carried out", modem, TakeLatency);
  app->add_option("--baud", modem->baud, "speed of the line, both ways; 0: at once")
      ->check(CLI::Range(0, 4000000))
      ->capture_default_str();
  AddRepeated(app, "--refuse", "NUMBER=CODE", "refuse what is sent to a number, with this +CMS ERROR", modem,
              TakeRefusal);
  app->add_option_function<int>(
         "--refuse-nth", [modem](int nth) { RefuseNth(nth, modem); }, "refuse this send, counted from 1")
      ->check(CLI::Range(1, 1000000));
  AddRepeated(app, "--fault", "KIND[,FIELD=VALUE...]",
              "misbehave: refuse, late, drop, garbage, hangup or restart, with every=N, times=N, command=NAME, code=N, "
              "ms=N, octets=HEX, at=before-prompt|after-prompt|after-octets|before-verdict",
              modem, TakeFault);
  app->add_flag("--interrupt", modem->interrupt, "write unsolicited lines also inside replies");
}

void Describe(CLI::App* app, Arguments* arguments) {
  DescribePorts(app, arguments);
  DescribeDevice(app, &arguments->modem);
  DescribeState(app, &arguments->modem);
  DescribeBehaviour(app, &arguments->modem);
  app->set_version_flag("--version", std::string("modem-sim ") + modem_sim::kVersion);
}

/// Stops the loop at the end of the standard input.
class CStdinWatch {
public:
  explicit CStdinWatch(boost::asio::io_context& context) : m_context(context), m_input(context) {}

  void Start() {
    boost::system::error_code error;
    m_input.assign(dup(STDIN_FILENO), error);
    if (error) {
      m_context.stop();  // a plain file or /dev/null: it cannot be waited for, and there is nobody behind it
      return;
    }
    ReadMore();
  }

private:
  void ReadMore() {
    m_input.async_read_some(boost::asio::buffer(m_bytes), [this](const boost::system::error_code& error, std::size_t) {
      if (error) {
        m_context.stop();
      } else {
        ReadMore();
      }
    });
  }

  boost::asio::io_context& m_context;
  boost::asio::posix::stream_descriptor m_input;
  std::array<char, 256> m_bytes{};
};

int Fail(const std::string& error) {
  std::cerr << "modem-sim: " << error << '\n';
  return EXIT_FAILURE;
}

DWORD Milliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

/// Runs until somebody ends it.
template <typename Port>
void Loop(const Arguments& arguments, boost::asio::io_context& context, Port& port) {
  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([&context](const boost::system::error_code&, int) { context.stop(); });
  CStdinWatch input(context);
  if (arguments.exitWithStdin) boost::asio::post(context, [&input] { input.Start(); });
  std::cout << port.Path() << std::endl;
  context.run();
}

/// @param recorder  stands between modem and port; null: nothing is kept.
template <typename Port>
int ServeModem(const Arguments& arguments, boost::asio::io_context& context, Port& port,
               modem_sim::CRecorder* recorder) {
  modem_sim::IModemWorld& world = recorder ? static_cast<modem_sim::IModemWorld&>(*recorder) : port;
  modem_sim::CSimulatedModem modem(arguments.modem, world);
  modem_sim::CControl control(modem, world);
  modem_sim::CControlSocket socket(context, control);
  std::string error;
  if (!arguments.control.empty() && !socket.Open(arguments.control, &error)) return Fail(error);
  if (recorder) recorder->Start(modem);
  port.Start(recorder ? static_cast<modem_sim::IPortUser&>(*recorder) : modem);
  Loop(arguments, context, port);
  return EXIT_SUCCESS;
}

template <typename Port>
int Replay(const Arguments& arguments, boost::asio::io_context& context, Port& port) {
  std::string difference = "the record has not been played to its end";
  modem_sim::CReplay replay(port, [&](const std::string& end) {
    difference = end;
    // The last line has still to be written.
    port.After(kLastWordsMs, [&context] { context.stop(); });
  });
  std::ifstream file(arguments.replay);
  std::string error;
  if (!file) return Fail("cannot read " + arguments.replay + ": " + std::strerror(errno));
  if (!replay.Load(file, &error)) return Fail(arguments.replay + ": " + error);
  port.Start(replay);
  replay.Start();
  Loop(arguments, context, port);
  return difference.empty() ? EXIT_SUCCESS : Fail(arguments.replay + ": " + difference);
}

template <typename Port>
int Serve(const Arguments& arguments, boost::asio::io_context& context, Port& port) {
  if (!arguments.replay.empty()) return Replay(arguments, context, port);
  if (arguments.record.empty()) return ServeModem(arguments, context, port, nullptr);
  const mode_t before = umask(0077);  // a dialogue is nobody else's business
  std::ofstream file(arguments.record);
  umask(before);
  if (!file) return Fail("cannot write " + arguments.record + ": " + std::strerror(errno));
  modem_sim::CRecorder recorder(port, file, !arguments.unmasked, Milliseconds, [&arguments] {
    std::cerr << "modem-sim: the record " << arguments.record << " ends early: " << std::strerror(errno) << '\n';
  });
  return ServeModem(arguments, context, port, &recorder);
}

int Run(const Arguments& arguments) {
  boost::asio::io_context context(1);
  std::string error;
  if (arguments.tcp >= 0) {
    modem_sim::CLoopbackPort port(context);
    return port.Open(arguments.tcp, &error) ? Serve(arguments, context, port) : Fail(error);
  }
  modem_sim::CPtyPort port(context);
  if (!port.Open(&error) || (!arguments.link.empty() && !port.Link(arguments.link, &error))) return Fail(error);
  return Serve(arguments, context, port);
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // whoever wanted the path may have gone
  Arguments arguments;
  CLI::App app(
      "A simulated modem on a pseudo-terminal or a TCP port. The first line it prints is the path of its port.",
      "modem-sim");
  Describe(&app, &arguments);
  try {
    app.parse(argc, argv);
    return Run(arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? EXIT_SUCCESS : kUsageError;
  } catch (const std::exception& error) {
    std::cerr << "modem-sim: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
