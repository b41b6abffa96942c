// Reads the rows and puts decoded messages into words.
#include "PduRows.h"

#include "Text.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

using nlohmann::json;
using namespace sms_pdu;

namespace {

std::string TextOf(const VELK_wchar_t* units, std::size_t count) { return Utf8(VELK_wstring(units, count)); }

json TimeText(const TimeStamp& time) {
  if (time.month == 0) return nullptr;
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d %+d", time.year, time.month, time.day, time.hour,
                time.minute, time.second, time.zoneQuarters);
  return text;
}

json DefectNames(unsigned defects) {
  static const std::pair<unsigned, const char*> kNames[] = {
      {kDefectTimeStamp, "time"},       {kDefectUserDataCut, "cut"},   {kDefectHeader, "header"},
      {kDefectAddress, "address"},      {kDefectTrailing, "trailing"}, {kDefectReservedType, "type"},
      {kDefectOptionalCut, "optional"},
  };
  json names = json::array();
  for (const auto& [bit, name] : kNames) {
    if (defects & bit) names.push_back(name);
  }
  return names;
}

void DescribeAddress(const Address& address, json* out) {
  (*out)["number"] = TextOf(address.text, address.length);
  (*out)["ton"] = address.typeOfNumber;
  (*out)["npi"] = address.numberingPlan;
}

void DescribeHeader(const UserDataHeader& header, json* out) {
  HeaderElement element;
  for (std::size_t position = 0; NextElement(header, &position, &element);) {
    (*out)["elements"].push_back(Hex(&element.id, 1) + Hex(element.data, element.length));
  }
  Concatenation part;
  if (FindConcatenation(header, &part)) {
    (*out)["part"] = {part.reference, part.wide ? 16 : 8, part.total, part.sequence};
  }
  Ports ports;
  if (FindPorts(header, &ports)) (*out)["ports"] = {ports.destination, ports.source};
}

void DescribeCoding(const DataCoding& coding, json* out) {
  static const char* const kWaiting[] = {"voicemail", "fax", "email", "other"};
  if (coding.messageClass >= 0) (*out)["class"] = coding.messageClass;
  if (!coding.indication) return;
  (*out)["waiting"] = {kWaiting[static_cast<int>(coding.waiting)], coding.indicationActive, !coding.indicationDiscard};
}

void DescribeUserData(const UserData& userData, json* out) {
  const DataCoding coding = ParseDataCoding(userData.dcs);
  (*out)["dcs"] = userData.dcs;
  DescribeCoding(coding, out);
  DescribeHeader(userData.header, out);
  if (coding.coding == Coding::Octets || coding.compressed) {
    (*out)["data"] = Hex(userData.octets, userData.octetCount);
  } else {
    (*out)["text"] = TextOf(userData.text, userData.textLength);
  }
}

void DescribeValidity(const Validity& validity, json* out) {
  static const char* const kFormats[] = {"none", "enhanced", "relative", "absolute"};
  (*out)["validity"] = kFormats[static_cast<int>(validity.format)];
  DWORD seconds = 0;
  if (ValiditySeconds(validity, &seconds)) (*out)["minutes"] = seconds / 60;
  if (validity.format == ValidityFormat::Absolute) (*out)["until"] = TimeText(validity.absolute);
}

json DescribeMessage(const Deliver& message) {
  json out = {{"more", message.moreMessages}, {"pid", message.protocolId}, {"time", TimeText(message.time)}};
  DescribeAddress(message.originator, &out);
  DescribeUserData(message.userData, &out);
  return out;
}

json DescribeMessage(const Submit& message) {
  json out = {{"pid", message.protocolId}, {"mr", message.reference}};
  DescribeAddress(message.destination, &out);
  DescribeValidity(message.validity, &out);
  DescribeUserData(message.userData, &out);
  return out;
}

json DescribeMessage(const StatusReport& message) {
  json out = {{"mr", message.reference},
              {"status", message.status},
              {"time", TimeText(message.time)},
              {"discharged", TimeText(message.dischargeTime)},
              {"pi", message.hasProtocolId * 1 + message.hasDataCoding * 2 + message.hasUserData * 4}};
  DescribeAddress(message.recipient, &out);
  if (message.hasProtocolId) out["pid"] = message.protocolId;
  if (message.hasUserData) DescribeUserData(message.userData, &out);
  if (message.hasDataCoding) out["dcs"] = message.userData.dcs;
  return out;
}

/// Calls use(decode, encode, fresh message) for the type.
template <class Use>
auto ForType(const std::string& as, const Use& use) {
  if (as == "deliver") return use(DecodeDeliver, EncodeDeliver, Deliver());
  if (as == "submit") return use(DecodeSubmit, EncodeSubmit, Submit());
  if (as == "report") return use(DecodeStatusReport, EncodeStatusReport, StatusReport());
  throw std::invalid_argument("no such type: " + as);
}

std::vector<PduRow> ReadRows() {
  std::ifstream file(PDU_DATA "/tpdus.jsonl");
  std::vector<PduRow> rows;
  for (std::string line; std::getline(file, line);) {
    const json row = json::parse(line);
    rows.push_back({row["id"], row["as"], row["centre"], row["hex"], row.value("same", false), row["want"]});
  }
  if (rows.empty()) throw std::runtime_error("no rows in " PDU_DATA "/tpdus.jsonl");
  return rows;
}

}  // namespace

const std::vector<PduRow>& PduRows() {
  static const std::vector<PduRow> kRows = ReadRows();
  return kRows;
}

json Describe(const std::string& as, const std::vector<BYTE>& tpdu) {
  return ForType(as, [&](auto decode, auto, auto message) -> json {
    const PduError error = decode(tpdu.data(), tpdu.size(), &message);
    if (error != PduError::None) return {{"error", ErrorText(error)}};
    json out = DescribeMessage(message);
    if (message.defects != kDefectNone) out["damaged"] = DefectNames(message.defects);
    return out;
  });
}

std::vector<BYTE> Reencode(const std::string& as, const std::vector<BYTE>& tpdu) {
  return ForType(as, [&](auto decode, auto encode, auto message) {
    std::vector<BYTE> out(kTpduOctets);
    std::size_t written = 0;
    if (decode(tpdu.data(), tpdu.size(), &message) != PduError::None) return std::vector<BYTE>();
    const PduError error = encode(message, out.data(), out.size(), &written);
    if (error != PduError::None) throw std::runtime_error(std::string("does not encode again: ") + ErrorText(error));
    out.resize(written);
    return out;
  });
}

std::vector<BYTE> Octets(const std::string& hex) {
  std::vector<BYTE> out(hex.size() / 2 + 1);
  std::size_t written = 0;
  const PduError error = HexToOctets(hex.data(), hex.size(), out.data(), out.size(), &written);
  if (error != PduError::None) throw std::invalid_argument(hex + ": " + ErrorText(error));
  out.resize(written);
  out.shrink_to_fit();
  return out;
}

std::string Hex(const BYTE* octets, std::size_t size) {
  std::string out(2 * size + 1, '\0');
  OctetsToHex(octets, size, out.data());
  out.pop_back();
  return out;
}

std::string Hex(const std::vector<BYTE>& octets) { return Hex(octets.data(), octets.size()); }
