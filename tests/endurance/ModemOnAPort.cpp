#include "ModemOnAPort.h"

#include <stdexcept>

namespace {

std::string ContentOf(const modem_sim::StoredMessage& message) {
  sms_pdu::Deliver deliver;
  const BYTE* const tpdu = message.pdu.data() + (message.pdu.size() - message.tpduLength);
  if (sms_pdu::DecodeDeliver(tpdu, message.tpduLength, &deliver) != sms_pdu::PduError::None) {
    return std::string();
  }
  const sms_pdu::UserData& data = deliver.userData;
  return std::string(data.text, data.text + data.textLength);  // the tests write ASCII
}

}  // namespace

CModemOnAPort::CModemOnAPort(const modem_sim::ModemOptions& options) : m_modem(options, *this) {
  std::string error;
  if (!m_port.Open(&error)) {
    throw std::runtime_error(error);
  }
  m_port.Start(m_modem);
}

bool CModemOnAPort::RunUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    m_context.run_one_for(std::chrono::milliseconds(1));
  }
  return true;
}

std::vector<std::string> CModemOnAPort::ContentsOnCard() const {
  std::vector<std::string> contents;
  const modem_sim::CMessageStore& card = Card();
  for (int index = 1; index <= card.Capacity(); ++index) {
    if (const modem_sim::StoredMessage* const message = card.At(index)) {
      contents.push_back(ContentOf(*message));
    }
  }
  return contents;
}

void CModemOnAPort::Write(const std::string& bytes) {
  m_uWritten += bytes.size();
  m_uGiven += bytes.find("+CMGR:") == std::string::npos && bytes.find("+CMT:") == std::string::npos ? 0 : 1;
  m_port.Write(bytes);
}
