// modem-sim: a simulated modem on a pseudo-terminal.
#include "ControlSocket.h"
#include "PtyPort.h"
#include "SimulatedModem.h"

#include <CLI/CLI.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include <unistd.h>

#include <charconv>
#include <csignal>
#include <cstdio>
#include <iostream>

namespace {

using modem_sim::ModemOptions;

const int kUsageError = 2;

struct Arguments {
  ModemOptions modem;
  std::string link;
  std::string control;
  bool exitWithStdin = false;
};

std::string CheckNumber(const std::string& number) {
  sms_pdu::Address address;
  const bool dialled = sms_pdu::MakeAddress(number.c_str(), &address) == sms_pdu::PduError::None &&
                       address.length != 0 && address.typeOfNumber != sms_pdu::kTonAlphanumeric;
  return dialled ? "" : "\"" + number + "\" is no number; write digits, with a + in front when international";
}

/// NUMBER=CODE
std::string TakeRefusal(const std::string& text, ModemOptions* options) {
  const std::size_t sign = text.find('=');
  int code = 0;
  if (sign != std::string::npos) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + sign + 1, end, code);
    if (error != std::errc() || stop != end) code = 0;
  }
  if (code < 1 || code > 999) return "\"" + text + "\" is not NUMBER=CODE with a code of 1 to 999";
  options->refusals[text.substr(0, sign)] = code;
  return CheckNumber(text.substr(0, sign));
}

void Describe(CLI::App* app, Arguments* arguments) {
  ModemOptions* const modem = &arguments->modem;
  const CLI::Validator number(CheckNumber, "NUMBER");
  const CLI::Validator refusal([modem](const std::string& text) { return TakeRefusal(text, modem); }, "NUMBER=CODE");
  app->add_option("--link", arguments->link, "make a symbolic link to the port, removed at the end")->type_name("PATH");
  app->add_option("--control", arguments->control, "make a Unix socket that takes requests as JSON, one a line")
      ->type_name("PATH");
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
  app->add_option("--latency", modem->latencyMs, "milliseconds before the verdict of a send")
      ->check(CLI::Range(0, 600000))
      ->capture_default_str();
  app->add_option_function<std::vector<std::string>>(
         "--refuse", [](const std::vector<std::string>&) {},
         "refuse what is sent to a number, with this +CMS ERROR; may be given several times")
      ->check(refusal)
      ->allow_extra_args(false);
  app->add_option("--refuse-nth", modem->refuseNth, "refuse this send, counted from 1")->check(CLI::Range(1, 1000000));
  app->add_option("--pin", modem->pin, "lock the card with this PIN")
      ->check(CLI::Validator(
          [](const std::string& pin) {
            const bool digits = pin.find_first_not_of("0123456789") == std::string::npos;
            return digits && pin.size() >= 4 && pin.size() <= 8 ? "" : "a PIN has 4 to 8 digits";
          },
          "PIN"));
  app->add_flag_callback(
      "--no-network", [modem] { modem->network = modem_sim::NetworkState::Searching; }, "never find a network");
  app->add_flag("--interrupt", modem->interrupt, "write unsolicited lines also inside replies");
  app->add_flag("--exit-with-stdin", arguments->exitWithStdin, "end when the standard input is closed");
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

int Run(const Arguments& arguments) {
  boost::asio::io_context context(1);
  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([&context](const boost::system::error_code&, int) { context.stop(); });
  modem_sim::CPtyPort port(context);
  std::string error;
  if (!port.Open(&error) || (!arguments.link.empty() && !port.Link(arguments.link, &error))) {
    std::cerr << "modem-sim: " << error << '\n';
    return EXIT_FAILURE;
  }
  modem_sim::CSimulatedModem modem(arguments.modem, port);
  modem_sim::CControl control(modem, port, port);
  modem_sim::CControlSocket socket(context, control);
  if (!arguments.control.empty() && !socket.Open(arguments.control, &error)) {
    std::cerr << "modem-sim: " << error << '\n';
    return EXIT_FAILURE;
  }
  port.Start(modem);
  CStdinWatch input(context);
  if (arguments.exitWithStdin) boost::asio::post(context, [&input] { input.Start(); });
  std::cout << port.Path() << std::endl;
  context.run();
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // whoever wanted the path may have gone
  Arguments arguments;
  CLI::App app("A simulated modem on a pseudo-terminal. The first line it prints is the path of its port.",
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
