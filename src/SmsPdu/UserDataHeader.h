// The user data header: information elements in front of the content (3GPP TS 23.040 9.2.3.24).
#pragma once

#include "SMSDef.h"

#include <cstddef>

namespace sms_pdu {

const std::size_t kUserDataOctets = 140;                // most octets of TP-UD
const std::size_t kHeaderOctets = kUserDataOctets - 1;  // without the length octet in front

/// Information element identifiers that are understood here; all others are kept as they are.
const BYTE kIeConcatenation8 = 0x00;
const BYTE kIeSpecialIndication = 0x01;
const BYTE kIePorts8 = 0x04;
const BYTE kIePorts16 = 0x05;
const BYTE kIeConcatenation16 = 0x08;
const BYTE kIeSingleShift = 0x24;
const BYTE kIeLockingShift = 0x25;

/// The elements, one after another as on the air: identifier, length, data. Empty: the message has no header.
struct UserDataHeader {
  BYTE length = 0;
  BYTE octets[kHeaderOctets] = {};
};

/// One element; data points into the header.
struct HeaderElement {
  BYTE id = 0;
  BYTE length = 0;
  const BYTE* data = nullptr;
};

/// This part's place in a concatenated message.
struct Concatenation {
  WORD reference = 0;
  BYTE total = 0;     // parts, 1..255
  BYTE sequence = 0;  // this part, 1..total
  bool wide = false;  // 16-bit reference
};

/// Application ports.
struct Ports {
  WORD destination = 0;
  WORD source = 0;
  bool wide = true;  // 16-bit ports
};

/// Steps through the elements: start with *position 0.
/// @return false: no further element, or the next one runs past the end (*position stays before it).
bool NextElement(const UserDataHeader& header, std::size_t* position, HeaderElement* out);

/// Each finds the last element of its kind that makes sense and answers false when there is none. A concatenation with
/// total 0, sequence 0 or a sequence beyond the total makes none.
bool FindConcatenation(const UserDataHeader& header, Concatenation* out);
bool FindPorts(const UserDataHeader& header, Ports* out);
/// The national tables in force; languages without a table here read as the default ones.
SMS_NLI FindTables(const UserDataHeader& header);

/// Each appends one element (AddTables none for default tables, up to two else).
/// @return false: no room, the header is unchanged.
bool AddElement(UserDataHeader* header, BYTE id, const BYTE* data, std::size_t length);
bool AddConcatenation(UserDataHeader* header, const Concatenation& part);
bool AddPorts(UserDataHeader* header, const Ports& ports);
bool AddTables(UserDataHeader* header, const SMS_NLI& tables);

}  // namespace sms_pdu
