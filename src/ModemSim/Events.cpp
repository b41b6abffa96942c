// What happens to the device from outside: network, card, calls, power.
#include "SimulatedModem.h"

#include <algorithm>

namespace modem_sim {
namespace {

const int kRingMs = 5000;
const int kPukTries = 10;

/// 1: usable, 255: none there.
std::string CardNotice(CardState state) {
  return state == CardState::Ready ? "1" : state == CardState::Absent ? "255" : "0";
}

}  // namespace

void CSimulatedModem::SetNetwork(NetworkState state) {
  const std::string before = RegistrationState();
  m_network = state;
  RegistrationChanged(before);
}

void CSimulatedModem::SetSignal(int value) { m_iSignal = value == 99 ? value : std::clamp(value, 0, 31); }

void CSimulatedModem::SetCard(CardState state, const std::string& pin) {
  const std::string before = RegistrationState();
  if (!pin.empty()) m_strPin = pin;
  if ((state == CardState::Pin || state == CardState::Puk) && m_strPin.empty()) m_strPin = m_strUnusedPin;
  if (m_iNotices == 1 && state != m_card) Unsolicited("^SIMST: " + CardNotice(state));
  m_card = state;
  m_iPinTries = state == CardState::Puk ? 0 : kPinTries;
  m_iPukTries = kPukTries;
  RegistrationChanged(before);
}

void CSimulatedModem::Ring(const std::string& number) {
  m_strCaller = number;
  RingOnce(++m_uCall);
}

void CSimulatedModem::RingOnce(std::uint64_t call) {
  if (m_strCaller.empty() || call != m_uCall) return;
  if (Registered()) {
    Unsolicited(m_iRingForm == 1 ? "+CRING: VOICE" : "RING");
    if (m_iCallerNumber == 1) Unsolicited(CallerLine());
  }
  m_world.After(kRingMs, [this, call] { RingOnce(call); });
}

void CSimulatedModem::EndCall() {
  if (m_strCaller.empty()) return;
  m_strCaller.clear();
  Unsolicited("NO CARRIER");
}

void CSimulatedModem::Unplug() {
  PowerOff();
  m_world.Unplug();
}

bool CSimulatedModem::Plug(std::string* error) {
  if (!m_world.Plug(error)) return false;
  PowerOn();
  return true;
}

void CSimulatedModem::PowerOff() {
  ++m_uLife;
  if (!m_bPowered) return;
  m_fromComputer.Clear();
  HangUp();
  PutBack();
  m_bPowered = false;
  m_state = State::Command;
  m_strCaller.clear();
  m_toComputer.Clear();
  m_bMute = false;
  m_lstInformation.clear();
  m_lstUnsolicited.clear();
  m_lstBuffered.clear();
  ResetSettings();
}

void CSimulatedModem::PowerOn() {
  if (m_bPowered) return;
  m_bPowered = true;
  m_iFunctionality = 1;
  if (m_card == CardState::Ready && !m_strPin.empty()) m_card = CardState::Pin;
  if (m_options.profile->start) WriteText(m_options.profile->start);
  HandOver();
}

void CSimulatedModem::Restart(int milliseconds) {
  PowerOff();
  m_world.After(milliseconds, [this, life = m_uLife] {
    if (life == m_uLife) PowerOn();
  });
}

int CSimulatedModem::Fill(Memory memory) {
  int filled = 0;
  while (Store(memory).Add(Filler(filled + 1)) != 0) ++filled;
  if (filled != 0) TellFull(memory);
  return filled;
}

/// No two are alike: a program may take equal messages of one second for one.
StoredMessage CSimulatedModem::Filler(int number) {
  const std::string text = "full " + std::to_string(number);
  sms_pdu::Deliver message;
  sms_pdu::MakeAddress(m_options.serviceCentre.c_str(), &message.originator);
  sms_pdu::SetText(&message.userData, VELK_wstring(text.begin(), text.end()).data(), text.size());
  message.time = m_world.Now();
  BYTE tpdu[sms_pdu::kTpduOctets];
  std::size_t size = 0;
  StoredMessage stored;  // empty: no memory takes it
  if (sms_pdu::EncodeDeliver(message, tpdu, sizeof tpdu, &size) == sms_pdu::PduError::None) Wrap(tpdu, size, &stored);
  return stored;
}

}  // namespace modem_sim
