// Fields of a request.
#include "ControlRequest.h"

#include "Pieces.h"

#include <algorithm>
#include <cstdio>

namespace modem_sim {
namespace {

[[noreturn]] void Fail(const std::string& name, const std::string& what) {
  throw BadRequest('"' + name + "\" " + what);
}

std::string Choice(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "\"" : ", \"") + word + '"';
  return text;
}

int NumberOf(const std::string& name, const nlohmann::json& value, int lowest, int highest) {
  if (value.is_number_integer()) {
    const auto number = value.get<std::int64_t>();  // an unsigned one beyond that becomes negative
    const bool wrapped = value.is_number_unsigned() && number < 0;
    if (!wrapped && number >= lowest && number <= highest) return static_cast<int>(number);
  }
  Fail(name, "must be a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
}

/// @return quarters of an hour; false: no such zone.
bool ParseZone(const std::string& text, std::int8_t* quarters) {
  if (text.empty()) return true;
  char sign = 0;
  int hours = 0;
  int minutes = 0;
  int end = 0;
  if (text == "Z") {
    *quarters = 0;
    return true;
  }
  if (std::sscanf(text.c_str(), "%c%2d:%2d%n", &sign, &hours, &minutes, &end) != 3 ||
      static_cast<std::size_t>(end) != text.size() || (sign != '+' && sign != '-') || hours < 0 || minutes < 0 ||
      minutes % 15 != 0 || hours * 4 + minutes / 15 > 79) {
    return false;
  }
  const int value = hours * 4 + minutes / 15;
  *quarters = static_cast<std::int8_t>(sign == '-' ? -value : value);
  return true;
}

bool Exists(const sms_pdu::TimeStamp& time) {
  BYTE octets[sms_pdu::kTimeStampOctets];
  sms_pdu::TimeStamp back;
  sms_pdu::EncodeTimeStamp(time, octets);
  return sms_pdu::DecodeTimeStamp(octets, &back) && back.year == time.year && back.month == time.month &&
         back.day == time.day && back.hour == time.hour && back.minute == time.minute && back.second == time.second;
}

bool ParseTime(const std::string& text, sms_pdu::TimeStamp* out) {
  unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  char between = 0;
  int end = 0;
  if (text.find_first_not_of("0123456789") != 4 ||
      std::sscanf(text.c_str(), "%4u-%2u-%2u%c%2u:%2u:%2u%n", &year, &month, &day, &between, &hour, &minute, &second,
                  &end) != 7 ||
      (between != ' ' && between != 'T')) {
    return false;
  }
  out->year = static_cast<WORD>(year);
  out->month = static_cast<BYTE>(month);
  out->day = static_cast<BYTE>(day);
  out->hour = static_cast<BYTE>(hour);
  out->minute = static_cast<BYTE>(minute);
  out->second = static_cast<BYTE>(second);
  return ParseZone(text.substr(static_cast<std::size_t>(end)), &out->zoneQuarters) && Exists(*out);
}

}  // namespace

const nlohmann::json* CControlRequest::Find(const std::string& name) {
  m_read.insert(name);
  const auto found = m_object.find(name);
  return found == m_object.end() ? nullptr : &*found;
}

bool CControlRequest::Has(const std::string& name) { return Find(name) != nullptr; }

std::string CControlRequest::Text(const std::string& name, const std::string& fallback) {
  const nlohmann::json* const value = Find(name);
  if (!value) return fallback;
  if (!value->is_string()) Fail(name, "must be a text");
  return value->get<std::string>();
}

std::string CControlRequest::Text(const std::string& name) {
  if (!Has(name)) Fail(name, "is missing");
  return Text(name, "");
}

std::string CControlRequest::Word(const std::string& name, const std::vector<std::string>& words,
                                  const std::string& fallback) {
  const std::string word = Text(name, fallback);
  if (std::find(words.begin(), words.end(), word) == words.end()) Fail(name, "must be one of " + Choice(words));
  return word;
}

int CControlRequest::Number(const std::string& name, int lowest, int highest, int fallback) {
  const nlohmann::json* const value = Find(name);
  return value ? NumberOf(name, *value, lowest, highest) : fallback;
}

std::vector<int> CControlRequest::Numbers(const std::string& name, int lowest, int highest) {
  std::vector<int> numbers;
  const nlohmann::json* const value = Find(name);
  if (!value) return numbers;
  if (!value->is_array() || value->empty()) Fail(name, "must be a list of numbers");
  for (const nlohmann::json& element : *value) numbers.push_back(NumberOf(name, element, lowest, highest));
  return numbers;
}

bool CControlRequest::Flag(const std::string& name, bool fallback) {
  const nlohmann::json* const value = Find(name);
  if (!value) return fallback;
  if (!value->is_boolean()) Fail(name, "must be true or false");
  return value->get<bool>();
}

std::vector<BYTE> CControlRequest::Octets(const std::string& name, std::size_t most) {
  const std::string digits = Text(name);
  std::vector<BYTE> octets(digits.size() / 2 + 1);
  std::size_t count = 0;
  const auto error = sms_pdu::HexToOctets(digits.data(), digits.size(), octets.data(), octets.size(), &count);
  if (error != sms_pdu::PduError::None) Fail(name, std::string("must be hexadecimal: ") + sms_pdu::ErrorText(error));
  if (count > most) Fail(name, "has more than " + std::to_string(most) + " octets");
  octets.resize(count);
  return octets;
}

sms_pdu::Address CControlRequest::Address(const std::string& name) {
  const VELK_wstring text = FromUtf8(Text(name));
  sms_pdu::Address address;
  const auto error = sms_pdu::MakeAddress(text.data(), text.size(), &address);
  if (error != sms_pdu::PduError::None) Fail(name, std::string("is no sender: ") + sms_pdu::ErrorText(error));
  return address;
}

sms_pdu::TimeStamp CControlRequest::Time(const std::string& name, const sms_pdu::TimeStamp& fallback) {
  sms_pdu::TimeStamp time = fallback;
  if (Has(name) && !ParseTime(Text(name), &time)) Fail(name, "must be a time as \"2024-05-06 07:08:09+02:00\"");
  return time;
}

const nlohmann::json& CControlRequest::Object(const std::string& name) {
  const nlohmann::json* const value = Find(name);
  if (!value || !value->is_object()) Fail(name, "must be an object");
  return *value;
}

void CControlRequest::Finish() const {
  for (const auto& field : m_object.items()) {
    if (m_read.count(field.key()) == 0) Fail(field.key(), "is no field of this request");
  }
}

}  // namespace modem_sim
