// Commands of 3GPP TS 27.005 in text mode.
#include "ErrorCodes.h"
#include "HexText.h"
#include "SimulatedModem.h"

namespace modem_sim {
namespace {

const char* const kAll = "ALL";

bool ParseStatus(const std::string& text, int* out) {
  for (int status = 0; status < kStatusAll; ++status) {
    if (text == TextOf(static_cast<MessageStatus>(status))) {
      *out = status;
      return true;
    }
  }
  return false;
}

/// <vp> in the format that the first octet asks for.
bool ParseValidity(const CValues& values, std::size_t place, BYTE firstOctet, sms_pdu::Validity* out) {
  if (!values.Given(place)) return true;
  std::string text;
  int number = 0;
  std::size_t written = 0;
  switch (FormatOf(firstOctet)) {
    case sms_pdu::ValidityFormat::None:
      return true;
    case sms_pdu::ValidityFormat::Relative:
      if (!values.Number(place, 0, 255, &number)) return false;
      out->relative = static_cast<BYTE>(number);
      return true;
    case sms_pdu::ValidityFormat::Absolute:
      return values.Text(place, &text) && ParseTime(text, &out->absolute);
    case sms_pdu::ValidityFormat::Enhanced:
      return values.Text(place, &text) &&
             sms_pdu::HexToOctets(text.data(), text.size(), out->enhanced, sizeof out->enhanced, &written) ==
                 sms_pdu::PduError::None &&
             written == sizeof out->enhanced;
  }
  return false;
}

}  // namespace

CSimulatedModem::Result CSimulatedModem::InvalidParameter() const {
  return Cms(TextMode() ? kCmsInvalidTextParameter : kCmsInvalidPduParameter);
}

/// A number in the computer's character set; PDU mode has no text, but the numbers of +CSCA and +CMSS all the same.
bool CSimulatedModem::TakeNumber(const CValues& values, std::size_t place, std::string* number) const {
  std::string text;
  if (!values.Text(place, &text)) return false;
  if (TextMode()) return DecodeAscii(m_characterSet, text, number);
  *number = text;
  return true;
}

/// A number and, behind it, its type. False as well when it is empty or no number.
bool CSimulatedModem::TakeAddress(const CValues& values, std::size_t place, sms_pdu::Address* address) const {
  std::string number;
  int type = 0;
  if (!TakeNumber(values, place, &number) || !values.Number(place + 1, 128, 255, &type) ||
      sms_pdu::MakeAddress(number.c_str(), address) != sms_pdu::PduError::None || address->length == 0 ||
      address->typeOfNumber == sms_pdu::kTonAlphanumeric) {
    return false;
  }
  if (type != 0) {
    address->typeOfNumber = static_cast<BYTE>(type >> 4 & 0x07);
    address->numberingPlan = static_cast<BYTE>(type & 0x0F);
  }
  return true;
}

CSimulatedModem::Result CSimulatedModem::OnTextParameters(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) return Ok();
  if (command.form == AtCommand::Form::Read) {
    sms_pdu::Validity validity = m_textParameters.validity;
    validity.format = FormatOf(m_textParameters.firstOctet);
    Inform("+CSMP: " + std::to_string(m_textParameters.firstOctet) + ',' + TextOf(validity) + ',' +
           std::to_string(m_textParameters.protocolId) + ',' + std::to_string(m_textParameters.dcs));
    return Ok();
  }
  const CValues values(command.values, 4);
  TextParameters parameters = m_textParameters;
  int firstOctet = parameters.firstOctet;
  int protocolId = parameters.protocolId;
  int dcs = parameters.dcs;
  if (command.form == AtCommand::Form::Execute || !values.Valid() || !values.Number(0, 0, 255, &firstOctet) ||
      !ParseValidity(values, 1, static_cast<BYTE>(firstOctet), &parameters.validity) ||
      !values.Number(2, 0, 255, &protocolId) || !values.Number(3, 0, 255, &dcs)) {
    return Cms(kCmsInvalidTextParameter);
  }
  parameters.firstOctet = static_cast<BYTE>(firstOctet);
  parameters.protocolId = static_cast<BYTE>(protocolId);
  parameters.dcs = static_cast<BYTE>(dcs);
  m_textParameters = parameters;
  return Ok();
}

/// One profile, 0: the settings of +CSCA and +CSMP.
CSimulatedModem::Result CSimulatedModem::OnSaveSettings(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CSAS: (0)");
    return Ok();
  }
  const CValues values(command.values, 1);
  int profile = 0;
  if (command.form == AtCommand::Form::Read || !values.Valid() || !values.Number(0, 0, 0, &profile)) return Error();
  m_saved = {m_strServiceCentre, m_textParameters};
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::OnRestoreSettings(const AtCommand& command) {
  if (command.form == AtCommand::Form::Test) {
    Inform("+CRES: (0)");
    return Ok();
  }
  const CValues values(command.values, 1);
  int profile = 0;
  if (command.form == AtCommand::Form::Read || !values.Valid() || !values.Number(0, 0, 0, &profile)) return Error();
  m_strServiceCentre = m_saved.serviceCentre;
  m_textParameters = m_saved.textParameters;
  return Ok();
}

CSimulatedModem::Result CSimulatedModem::SendInText(const AtCommand& command) {
  const CValues values(command.values, 2);
  sms_pdu::Address to;
  if (command.form != AtCommand::Form::Set || !values.Valid() || !TakeAddress(values, 0, &to)) {
    return Cms(kCmsInvalidTextParameter);
  }
  OpenPrompt(
      [this, to](const std::string& typed) {
        StoredMessage message;
        if (!MakeSubmit(to, m_textParameters, m_characterSet, typed, &message)) return Cms(kCmsInvalidTextParameter);
        return Send(message, "+CMGS", nullptr);
      },
      true);
  return Later();
}

CSimulatedModem::Result CSimulatedModem::WriteInText(const AtCommand& command) {
  const CValues values(command.values, 3);
  sms_pdu::Address party;
  std::string name = TextOf(MessageStatus::Unsent);
  int status = 0;
  if (command.form == AtCommand::Form::Read || !values.Valid() ||
      (values.Given(0) && !TakeAddress(values, 0, &party)) || !values.Text(2, &name) || !ParseStatus(name, &status)) {
    return Cms(kCmsInvalidTextParameter);
  }
  OpenPrompt(
      [this, party, status](const std::string& typed) {
        StoredMessage message;
        message.status = static_cast<MessageStatus>(status);
        const bool received = message.status == MessageStatus::Unread || message.status == MessageStatus::Read;
        const bool made = received
                              ? MakeDeliver(party, m_world.Now(), m_textParameters, m_characterSet, typed, &message)
                              : MakeSubmit(party, m_textParameters, m_characterSet, typed, &message);
        return made ? Write(message) : Cms(kCmsInvalidTextParameter);
      },
      true);
  return Later();
}

CSimulatedModem::Result CSimulatedModem::ListInText(const AtCommand& command) {
  const CValues values(command.values, 1);
  std::string name = TextOf(MessageStatus::Unread);
  int wanted = kStatusAll;
  if (command.form == AtCommand::Form::Read || !values.Valid() || !values.Text(0, &name) ||
      (name != kAll && !ParseStatus(name, &wanted))) {
    return Cms(kCmsInvalidTextParameter);
  }
  List(wanted);
  return Ok();
}

void CSimulatedModem::InformText(const std::string& head, const TextLines& lines) {
  Inform(head + lines.values);
  if (lines.hasText) Inform(lines.text);
}

std::string CSimulatedModem::Joined(const std::string& name, const TextLines& lines) const {
  return name + lines.values + (lines.hasText ? LineEnd() + lines.text : std::string());
}

/// +CMT or +CDS in the mode of +CMGF.
std::string CSimulatedModem::DirectLines(const Incoming& incoming) const {
  const std::string name = incoming.isReport ? "+CDS: " : "+CMT: ";
  if (TextMode()) return Joined(name, ArrivingText(incoming.message, View()));
  return name + (incoming.isReport ? "" : ",") + std::to_string(incoming.message.tpduLength) + LineEnd() +
         HexOf(incoming.message.pdu);
}

/// +CBM in the mode of +CMGF.
std::string CSimulatedModem::PageLines(const sms_pdu::BroadcastPage& page, const std::vector<BYTE>& octets) const {
  if (TextMode()) return Joined("+CBM: ", PageText(page, octets, View()));
  return "+CBM: " + std::to_string(octets.size()) + LineEnd() + HexOf(octets);
}

}  // namespace modem_sim
