// Which modem is meant, and which port of it.
#include "FakeBus.h"
#include "LineAddress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using modem::AskedPort;
using modem::LineAddress;
using modem::ModemWish;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const char kFirst[] = "350000000000017";
const char kSecond[] = "350000000000025";

class ModemFinder : public testing::Test {
protected:
  std::string Find(const ModemWish& wish) {
    m_strError.clear();
    const auto found = m_finder.Find(wish, m_strError);
    return found ? found->port.path : std::string();
  }
  std::string FindAgain(const ModemWish& wish, const modem::BusPort& before) {
    m_strError.clear();
    const auto found = m_finder.FindAgain(wish, before, m_strError);
    return found ? found->port.path : std::string();
  }
  static ModemWish Imei(const char* imei) { return {imei, "", ""}; }
  static ModemWish Place(const char* place) { return {"", "", place}; }

  CFakeBus m_bus;
  modem::CModemFinder m_finder{m_bus, [this](const std::string& path) { return m_bus.Probe(path); }};
  std::string m_strError;
};

TEST_F(ModemFinder, ListsEveryDeviceWithItsPortsAndWhatTheySay) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", "");
  m_bus.Plug("/dev/ttyUSB1", "1-2", "01", kFirst);
  m_bus.Plug("/dev/ttyACM0", "1-3.1", "00", "");
  const auto modems = m_finder.FindModems();
  ASSERT_EQ(2u, modems.size());
  EXPECT_EQ("1-2", modems[0].place);
  EXPECT_EQ("Maker", modems[0].maker);
  EXPECT_EQ("Model", modems[0].model);
  EXPECT_EQ(kFirst, modems[0].imei);
  ASSERT_EQ(2u, modems[0].ports.size());
  EXPECT_EQ(FoundPort::State::kSilent, modems[0].ports[0].state);
  EXPECT_EQ(FoundPort::State::kAnswers, modems[0].ports[1].state);
  EXPECT_EQ("/dev/ttyUSB1", modems[0].ports[1].path);
  EXPECT_EQ("Stick", modems[1].model);
  EXPECT_EQ("", modems[1].imei);
}

TEST_F(ModemFinder, FindsTheOnlyModemThatAnswers) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", "");
  m_bus.Plug("/dev/ttyUSB1", "1-2", "01", kFirst);
  m_bus.Plug("/dev/ttyACM0", "1-3", "00", "");
  EXPECT_EQ("/dev/ttyUSB1", Find(ModemWish()));
}

TEST_F(ModemFinder, NamesTheModemsWhenSeveralAnswer) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", kFirst);
  m_bus.Plug("/dev/ttyUSB1", "1-3", "00", kSecond);
  EXPECT_EQ("", Find(ModemWish()));
  EXPECT_EQ(
      "several modems answer: imei:350000000000017 (Model, /dev/ttyUSB0); imei:350000000000025 (Model, /dev/ttyUSB1). "
      "Choose one with --device.",
      m_strError);
}

TEST_F(ModemFinder, NamesAModemOnThePciBusByItsPlaceThere) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", kFirst);
  m_bus.Plug("/dev/wwan0at0", "0000:08:00.0", "at0", "");
  m_bus.Plug("/dev/wwan0at1", "0000:08:00.0", "at1", kSecond);
  EXPECT_EQ("/dev/wwan0at1", Find(Place("0000:08:00.0")));
  EXPECT_EQ("", Find(Place("0000:09:00.0")));
  EXPECT_THAT(m_strError, HasSubstr("a modem at pci:0000:09:00.0 was not found"));
  EXPECT_EQ("pci:0000:08:00.0", NameOfPlace(m_finder.FindModems()[1].place));
}

TEST_F(ModemFinder, SaysThatThereIsNone) {
  EXPECT_EQ("", Find(ModemWish()));
  EXPECT_THAT(m_strError, AllOf(HasSubstr("no modem answers"), HasSubstr("smsctl modems")));
  EXPECT_EQ("", Find(Imei(kFirst)));
  EXPECT_THAT(m_strError, HasSubstr(std::string("imei:") + kFirst));
}

TEST_F(ModemFinder, SaysWhichPortCouldNotBeAsked) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", "");
  modem::PortAnswer closed;
  closed.state = FoundPort::State::kClosed;
  closed.note = "cannot open /dev/ttyUSB0: in use by ModemManager (pid 812).";
  m_bus.Answer("/dev/ttyUSB0", closed);
  EXPECT_EQ("", Find(ModemWish()));
  EXPECT_THAT(m_strError, HasSubstr(closed.note));
}

TEST_F(ModemFinder, PrefersACommandPortToThePortForData) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", kFirst, "Modem");
  m_bus.Plug("/dev/ttyUSB1", "1-2", "01", kFirst, "PC UI");
  m_bus.Plug("/dev/ttyUSB2", "1-2", "02", kFirst, "");
  EXPECT_EQ("/dev/ttyUSB1", Find(ModemWish()));
}

TEST_F(ModemFinder, TakesThePortForDataWhenNoOtherAnswers) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", kFirst, "Modem");
  m_bus.Plug("/dev/ttyUSB1", "1-2", "01", "", "Diagnostics");
  EXPECT_EQ("/dev/ttyUSB0", Find(ModemWish()));
}

TEST_F(ModemFinder, FindsAModemByItsImeiWhateverVersionDigitsStandBehindIt) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", kFirst);
  m_bus.Plug("/dev/ttyUSB1", "1-3", "00", kSecond);
  EXPECT_EQ("/dev/ttyUSB1", Find(Imei(kSecond)));
  EXPECT_EQ("/dev/ttyUSB1", Find(Imei("3500000000000278")));
  EXPECT_EQ("", Find(Imei("350000000000033")));
}

TEST_F(ModemFinder, FindsAModemByItsSim) {
  for (const auto& [path, place, iccid] : {std::make_tuple("/dev/ttyUSB0", "1-2", "89490200001234567890"),
                                           {"/dev/ttyUSB1", "1-3", "8949020000123456788"}}) {
    m_bus.Plug(path, place, "00", kFirst);
    modem::PortAnswer answer = m_bus.Probe(path);
    answer.iccid = iccid;
    m_bus.Answer(path, answer);
  }
  EXPECT_EQ("/dev/ttyUSB0", Find({"", "89490200001234567890", ""}));
  EXPECT_EQ("/dev/ttyUSB1", Find({"", "89490200001234567880", ""}));  // one side leaves the last digit out
  EXPECT_EQ("", Find({"", "89490200001234567000", ""}));
}

TEST_F(ModemFinder, AsksOnlyTheNamedPlace) {
  m_bus.Plug("/dev/ttyUSB0", "1-2", "00", kFirst);
  m_bus.Plug("/dev/ttyUSB1", "1-2.3", "00", kSecond);
  EXPECT_EQ("/dev/ttyUSB1", Find(Place("1-2.3")));
  EXPECT_THAT(m_bus.TakeAsked(), UnorderedElementsAre("/dev/ttyUSB1"));
}

TEST_F(ModemFinder, AsksASerialAdapterOnlyWhenItsPlaceIsNamed) {
  modem::BusPort adapter;
  adapter.path = "/dev/ttyUSB0";
  adapter.place = "1-1";
  adapter.driver = "ftdi_sio";
  m_bus.Plug(adapter, kFirst);
  EXPECT_EQ("", Find(ModemWish()));
  const auto modems = m_finder.FindModems();
  ASSERT_EQ(1u, modems.size());
  EXPECT_EQ(FoundPort::State::kNotAsked, modems[0].ports[0].state);
  EXPECT_NE("", modems[0].ports[0].note);
  EXPECT_THAT(m_bus.TakeAsked(), IsEmpty());
  EXPECT_EQ("/dev/ttyUSB0", Find(Place("1-1")));
}

TEST_F(ModemFinder, FindsAModemAgainUnderAnotherNameAndAtAnotherPlace) {
  m_bus.Plug("/dev/ttyUSB1", "1-2", "02", kFirst);
  const modem::BusPort before = m_bus.Ports()[0];
  m_bus.Unplug("/dev/ttyUSB1");
  EXPECT_FALSE(m_finder.MayBeThere(Imei(kFirst), before));
  m_bus.Plug("/dev/ttyUSB1", "1-2", "02", kSecond);  // another modem under the old name
  m_bus.Plug("/dev/ttyUSB7", "2-1", "02", kFirst);
  EXPECT_TRUE(m_finder.MayBeThere(Imei(kFirst), before));
  EXPECT_EQ("/dev/ttyUSB7", FindAgain(Imei(kFirst), before));
}

TEST_F(ModemFinder, WaitsForTheSameInterfaceOfAModemThatComesBackPortByPort) {
  m_bus.Plug("/dev/ttyUSB1", "1-2", "02", kFirst);
  const modem::BusPort before = m_bus.Ports()[0];
  m_bus.Unplug("/dev/ttyUSB1");
  m_bus.Plug("/dev/ttyUSB3", "1-2", "00", kFirst);
  for (const ModemWish& wish : {Imei(kFirst), Place("1-2")}) {
    EXPECT_FALSE(m_finder.MayBeThere(wish, before));
    EXPECT_EQ("", FindAgain(wish, before));
  }
  EXPECT_THAT(m_bus.TakeAsked(), IsEmpty());
  m_bus.Plug("/dev/ttyUSB4", "1-2", "02", kFirst);
  EXPECT_EQ("/dev/ttyUSB4", FindAgain(Imei(kFirst), before));
  EXPECT_EQ("/dev/ttyUSB4", FindAgain(Place("1-2"), before));
}

TEST_F(ModemFinder, TakesWhateverModemStandsAtTheNamedPlace) {
  m_bus.Plug("/dev/ttyUSB1", "1-2", "02", kFirst);
  const modem::BusPort before = m_bus.Ports()[0];
  m_bus.Unplug("/dev/ttyUSB1");
  modem::BusPort other = before;
  other.path = "/dev/ttyACM0";
  other.vendorId = "1199";
  other.interfaceNumber = "00";
  m_bus.Plug(other, kSecond);
  EXPECT_EQ("/dev/ttyACM0", FindAgain(Place("1-2"), before));
  EXPECT_EQ("", FindAgain(Imei(kFirst), before));
}

TEST_F(ModemFinder, FindsASimAgainInAModemOfAnotherKind) {
  m_bus.Plug("/dev/ttyUSB1", "1-2", "02", kFirst);
  const modem::BusPort before = m_bus.Ports()[0];
  m_bus.Unplug("/dev/ttyUSB1");
  modem::BusPort other = before;
  other.path = "/dev/ttyACM0";
  other.place = "1-3";
  other.vendorId = "1199";
  other.interfaceNumber = "00";
  m_bus.Plug(other, kSecond);
  modem::PortAnswer answer = m_bus.Probe(other.path);
  answer.iccid = "89490200001234567890";
  m_bus.Answer(other.path, answer);
  EXPECT_EQ("/dev/ttyACM0", FindAgain({"", answer.iccid, ""}, before));
}

TEST(LineAddress, NamesAModemByWhatItIs) {
  const std::pair<const char*, LineAddress::Kind> kRows[] = {{"imei:350000000000017", LineAddress::Kind::kImei},
                                                             {"imei:35000000000001", LineAddress::Kind::kImei},
                                                             {"iccid:89490200001234567890", LineAddress::Kind::kIccid},
                                                             {"usb:1-2", LineAddress::Kind::kPlace},
                                                             {"usb:12-3.4.10", LineAddress::Kind::kPlace},
                                                             {"pci:0000:0a:00.0", LineAddress::Kind::kPlace}};
  for (const auto& [text, kind] : kRows) {
    LineAddress address;
    std::string error;
    EXPECT_TRUE(ParseAddress(text, address, error)) << error;
    EXPECT_EQ(kind, address.kind) << text;
    EXPECT_EQ(std::string(text).substr(std::string(text).find(':') + 1), address.value);
  }
  LineAddress address;
  std::string error;
  EXPECT_TRUE(ParseAddress("auto", address, error));
  EXPECT_EQ(LineAddress::Kind::kAuto, address.kind);
  EXPECT_TRUE(ParseAddress("./auto", address, error));
  EXPECT_EQ(LineAddress::Kind::kPath, address.kind);
}

TEST(LineAddress, IsRefusedWhenItNamesNoModem) {
  const char* const kNone[] = {"imei:",
                               "imei:1234",
                               "imei:35000000000001x",
                               "imei:35000000000001789",
                               "iccid:",
                               "iccid:8949",
                               "usb:",
                               "usb:1",
                               "usb:1-",
                               "usb:-1",
                               "usb:1-2.",
                               "usb:1-.2",
                               "usb:1-2..3",
                               "usb:../1-2",
                               "usb:1-2:1.0",
                               "usb:usb1",
                               "pci:",
                               "pci:08:00.0",
                               "pci:0000:08:00.x",
                               "pci:0000:0A:00.0",
                               "pci:1-2",
                               "pci:0000-08:00.0",
                               "pci:0000:08:00.0.1",
                               "usb:0000:08:00.0"};
  for (const char* text : kNone) {
    LineAddress address;
    std::string error;
    EXPECT_FALSE(ParseAddress(text, address, error)) << text;
    EXPECT_THAT(error, HasSubstr(std::string("\"") + text + "\""));
  }
}

}  // namespace
