// The modems of a bus that umockdev makes up.

#include "CtlSupport.h"

#include <unistd.h>

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

const char kStick[] = R"(P: /devices/usb1/1-2
E: DEVTYPE=usb_device
E: SUBSYSTEM=usb
A: idVendor=12d1
A: manufacturer=Maker
A: product=Mobile Stick

)";

/// One interface of it, with its port.
std::string Interface(const std::string& number, const std::string& port) {
  const std::string path = "/devices/usb1/1-2/1-2:1." + number;
  return "P: " + path + "\nE: DEVTYPE=usb_interface\nE: SUBSYSTEM=usb\nA: bInterfaceNumber=0" + number + "\n\n" +
         "P: " + path + "/" + port + "/tty/" + port + "\nN: " + port + "\nE: DEVNAME=/dev/" + port +
         "\nE: SUBSYSTEM=tty\nE: MAJOR=188\nE: MINOR=" + number + "\nA: dev=188:" + number + "\n\n";
}

/// A modem that answers so; ^M and ^J stand for CR and LF.
const char kDialogue[] = R"(w 0 AT^M
r 0 ^M^JOK^M^J
w 0 AT+CGMI^M
r 0 ^M^JMaker Ltd.^M^J^M^JOK^M^J
w 0 AT+CGMM^M
r 0 ^M^JStick 3^M^J^M^JOK^M^J
w 0 AT+CGSN^M
r 0 ^M^J350000000000017^M^J^M^JOK^M^J
w 0 AT+CCID^M
r 0 ^M^J+CCID: 89490200001234567890^M^J^M^JOK^M^J
)";

class Modems : public CSmsCtlTest {
protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer and umockdev cannot both be loaded first";
#endif
    if (access("/usr/bin/umockdev-run", X_OK) != 0) {
      GTEST_SKIP() << "umockdev-run is missing; install the Debian package umockdev";
    }
    m_home.WriteFile("devices", kStick + Interface("0", "ttyUSB0") + Interface("2", "ttyUSB2"));
    m_home.WriteFile("dialogue", kDialogue);
  }
  /// Runs a program among these devices.
  ProgramResult Among(const std::vector<std::string>& devices, const std::vector<std::string>& command) const {
    std::vector<std::string> arguments = {"/usr/bin/umockdev-run"};
    arguments.insert(arguments.end(), devices.begin(), devices.end());
    arguments.push_back("--");
    arguments.insert(arguments.end(), command.begin(), command.end());
    return RunProgram(arguments, {"XDG_CONFIG_HOME=" + m_home.Path("config"), "XDG_DATA_HOME=" + m_home.Path("data"),
                                  "XDG_STATE_HOME=" + m_home.Path("state"), "HOME=" + m_home.Path()});
  }
  const std::string m_smsctl = BuiltProgram("smsctl");
  const std::vector<std::string> m_silent = {"-d", m_home.Path("devices")};
  const std::vector<std::string> m_answering = {"-d", m_home.Path("devices"), "-s",
                                                "/dev/ttyUSB2=" + m_home.Path("dialogue")};
};

TEST_F(Modems, AreListedWithIdentityAndTheAnsweringPort) {
  EXPECT_EQ(
      "usb:1-2  Maker Ltd. Stick 3\n"
      "  imei:350000000000017\n"
      "  iccid:89490200001234567890\n"
      "  /dev/ttyUSB0   does not answer\n"
      "  /dev/ttyUSB2   answers AT commands\n"
      "Every name and port above can stand behind --device.\n",
      Among(m_answering, {m_smsctl, "modems"}).out);
}

TEST_F(Modems, AreListedAsTheBusKnowsThemWhenNoneAnswers) {
  EXPECT_THAT(Among(m_silent, {m_smsctl, "modems"}).out, HasSubstr("usb:1-2  Maker Mobile Stick\n"));
}

TEST_F(Modems, AreLeftAloneByThePortThatAnotherProgramHasOpen) {
  const std::string script = "exec 3<>/dev/ttyUSB2; \"" + m_smsctl + "\" modems 3>&-; true";
  EXPECT_THAT(Among(m_answering, {"/bin/sh", "-c", script}).out,
              ContainsRegex("ttyUSB2 +not asked: cannot open /dev/ttyUSB2: in use by sh \\(pid [0-9]+\\)"));
}

TEST_F(Modems, AreSaidToBeNone) {
  const ProgramResult result = Among({}, {m_smsctl, "modems"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(1, CountLines(result.out)) << result.out;
  EXPECT_THAT(result.out, HasSubstr("no USB modem is plugged in"));
}

TEST_F(Modems, AreMissedInOneLineWhenOneIsWanted) {
  for (const char* device : {"auto", "imei:350000000000017", "usb:1-2", "iccid:89490200001234567890"}) {
    const ProgramResult result = Among(m_silent, {m_smsctl, "status", "--device", device});
    EXPECT_EQ(1, result.status) << device;
    EXPECT_EQ(1, CountLines(result.err)) << result.err;
    EXPECT_THAT(result.err, HasSubstr("ModemPlugin.so: Init failed: "));
    EXPECT_THAT(result.err, HasSubstr(". Plug it in"));
    EXPECT_EQ(result.err.find(device), result.err.rfind(device)) << "named twice";
  }
}

TEST_F(Modems, AreNotLookedForUnderANameThatMakesNoSense) {
  const ProgramResult result = Run({"status", "--device", "imei:12"});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.err, HasSubstr("\"imei:12\" is no modem's address"));
}

}  // namespace
