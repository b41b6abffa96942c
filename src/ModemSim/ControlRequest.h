// One request of the control socket: a JSON object whose fields are read and checked one by one.
#pragma once

#include "SmsPdu.h"

#include <nlohmann/json.hpp>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace modem_sim {

/// What a person has to mend in a request; the text names the field.
struct BadRequest : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Every reader answers the fallback when the field is missing and throws BadRequest when it is not what it should be.
class CControlRequest {
public:
  /// @param object  must outlive this; must be an object.
  explicit CControlRequest(const nlohmann::json& object) : m_object(object) {}

  /// Whether the field is there; it counts as read.
  bool Has(const std::string& name);
  std::string Text(const std::string& name, const std::string& fallback);
  /// Without a fallback: the field must be there.
  std::string Text(const std::string& name);
  /// One of the words.
  std::string Word(const std::string& name, const std::vector<std::string>& words, const std::string& fallback);
  int Number(const std::string& name, int lowest, int highest, int fallback);
  std::vector<int> Numbers(const std::string& name, int lowest, int highest);
  bool Flag(const std::string& name, bool fallback);
  /// Hexadecimal digits, at most most octets.
  std::vector<BYTE> Octets(const std::string& name, std::size_t most);
  /// A number or an alphanumeric name.
  sms_pdu::Address Address(const std::string& name);
  /// "2024-05-06 07:08:09", "2024-05-06T07:08:09+02:00", with Z for UTC; without a zone that of the fallback.
  sms_pdu::TimeStamp Time(const std::string& name, const sms_pdu::TimeStamp& fallback);
  /// The fields of an object inside; it must be there.
  const nlohmann::json& Object(const std::string& name);
  /// Throws when there is a field that nobody has read.
  void Finish() const;

private:
  const nlohmann::json* Find(const std::string& name);

  const nlohmann::json& m_object;
  std::set<std::string> m_read;
};

}  // namespace modem_sim
