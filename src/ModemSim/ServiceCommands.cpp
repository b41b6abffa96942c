// Commands of 3GPP TS 27.007 about services of the network and of the device: balance, caller, clock, battery.
#include "ErrorCodes.h"
#include "SimulatedModem.h"

#include <ctime>

namespace modem_sim {
namespace {

const char kBalanceCode[] = "*100#";
const char kBalance[] = "Balance: 12.34 EUR";
const int kUssdGsm7 = 15;  // 3GPP TS 23.038, 5: GSM alphabet, language unspecified
const int kQuarterSeconds = 900;

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

std::time_t SecondsOf(const sms_pdu::TimeStamp& time) {
  std::tm parts{};
  parts.tm_year = time.year - 1900;
  parts.tm_mon = time.month - 1;
  parts.tm_mday = time.day;
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  return timegm(&parts) - time.zoneQuarters * kQuarterSeconds;
}

sms_pdu::TimeStamp TimeOf(std::time_t seconds, std::int8_t zoneQuarters) {
  const std::time_t local = seconds + zoneQuarters * kQuarterSeconds;
  std::tm parts{};
  gmtime_r(&local, &parts);
  sms_pdu::TimeStamp time;
  time.year = static_cast<WORD>(parts.tm_year + 1900);
  time.month = static_cast<BYTE>(parts.tm_mon + 1);
  time.day = static_cast<BYTE>(parts.tm_mday);
  time.hour = static_cast<BYTE>(parts.tm_hour);
  time.minute = static_cast<BYTE>(parts.tm_min);
  time.second = static_cast<BYTE>(parts.tm_sec);
  time.zoneQuarters = zoneQuarters;
  return time;
}

}  // namespace

const std::vector<CSimulatedModem::Entry>& CSimulatedModem::ServiceCommands() {
  typedef CSimulatedModem M;
  static const std::vector<Entry> kCommands = {
      {"+CUSD", &M::OnUssd},
      {"+CLIP", &M::OnCallerNumber},
      {"+CCLK", &M::OnClock},
      {"+CBC", &M::OnBattery},
  };
  return kCommands;
}

CSimulatedModem::Result CSimulatedModem::OnUssd(const AtCommand& command) {
  switch (command.form) {
    case AtCommand::Form::Test:
      Inform("+CUSD: (0-2)");
      return Ok();
    case AtCommand::Form::Read:
      Inform("+CUSD: " + std::to_string(m_iUssd));
      return Ok();
    case AtCommand::Form::Execute:
      m_iUssd = 0;
      return Ok();
    case AtCommand::Form::Set:
      break;
  }
  const CValues values(command.values, 3);
  int mode = 0;
  int dcs = kUssdGsm7;
  std::string octets;
  std::string code;
  if (!values.Valid() || !values.Number(0, 0, 2, &mode) || !values.Text(1, &octets) ||
      !values.Number(2, 0, 255, &dcs) || !DecodeAscii(UssdSet(dcs), octets, &code)) {
    return Cme(kCmeIncorrectParameters);
  }
  if (mode == 2) return Ok();  // ends a session: there is none that stays open
  if (code.empty()) {
    m_iUssd = mode;
    return Ok();
  }
  if (!Registered()) return Cme(kCmeNoNetwork);
  m_iUssd = mode;
  m_world.After(m_options.latencyMs, [this, code, dcs] { TellUssd(code, dcs); });
  return Ok();
}

/// UCS-2 and 8-bit strings are hexadecimal whatever +CSCS says (3GPP TS 27.007, 7.15).
CharacterSet CSimulatedModem::UssdSet(int dcs) const {
  switch (sms_pdu::ParsePageCoding(static_cast<BYTE>(dcs)).coding) {
    case sms_pdu::Coding::Ucs2:
      return CharacterSet::Ucs2;
    case sms_pdu::Coding::Octets:
      return CharacterSet::Hex;
    default:
      return m_characterSet;
  }
}

/// <m> 0: no further action is asked of the user, 4: the network does not know the code.
void CSimulatedModem::TellUssd(const std::string& code, int dcs) {
  if (m_iUssd == 0 || !Registered()) return;
  const bool known = code == kBalanceCode;
  const std::string text = ',' + Quoted(EncodeAscii(UssdSet(dcs), kBalance)) + ',' + std::to_string(dcs);
  Unsolicited(known ? "+CUSD: 0" + text : "+CUSD: 4");
}

CSimulatedModem::Result CSimulatedModem::OnCallerNumber(const AtCommand& command) {
  switch (command.form) {
    case AtCommand::Form::Test:
      Inform("+CLIP: (0,1)");
      return Ok();
    case AtCommand::Form::Read:
      Inform("+CLIP: " + std::to_string(m_iCallerNumber) + (Registered() ? ",1" : ",2"));
      return Ok();
    case AtCommand::Form::Execute:
      m_iCallerNumber = 0;
      return Ok();
    case AtCommand::Form::Set:
      break;
  }
  const CValues values(command.values, 1);
  const bool valid = values.Valid() && values.Number(0, 0, 1, &m_iCallerNumber);
  return valid ? Ok() : Cme(kCmeIncorrectParameters);
}

std::string CSimulatedModem::CallerLine() const {
  return "+CLIP: " + Quoted(m_strCaller) + (m_strCaller.rfind('+', 0) == 0 ? ",145" : ",129");
}

CSimulatedModem::Result CSimulatedModem::OnClock(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  const sms_pdu::TimeStamp now = m_world.Now();
  if (command.form == AtCommand::Form::Read) {
    const std::int8_t zone = m_clock.set ? m_clock.zoneQuarters : now.zoneQuarters;
    Inform("+CCLK: " + Quoted(TextOf(TimeOf(SecondsOf(now) + m_clock.secondsAhead, zone))));
    return Ok();
  }
  const CValues values(command.values, 1);
  std::string text;
  sms_pdu::TimeStamp time;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !values.Text(0, &text) || !ParseTime(text, &time)) {
    return Cme(kCmeIncorrectParameters);
  }
  m_clock = {true, time.zoneQuarters, SecondsOf(time) - SecondsOf(now)};
  return Ok();
}

/// <bcs> 2: no battery, as in everything that lives on the power of its port.
CSimulatedModem::Result CSimulatedModem::OnBattery(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CBC: (2),(0)");
    return Ok();
  }
  return Inform(command, "+CBC: 2,0");
}

}  // namespace modem_sim
