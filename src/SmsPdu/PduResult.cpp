// The words of refusals.
#include "PduResult.h"

namespace sms_pdu {

const char* ErrorText(PduError error) {
  switch (error) {
    case PduError::None:
      return "no error";
    case PduError::Truncated:
      return "the octets end inside a field";
    case PduError::WrongType:
      return "another type of message";
    case PduError::OddHexDigits:
      return "not an even number of hexadecimal digits";
    case PduError::NotHex:
      return "not a hexadecimal digit";
    case PduError::TooLong:
      return "longer than one message carries";
    case PduError::UnencodableCharacter:
      return "a character that the alphabet does not have";
    case PduError::UnencodableAddress:
      return "not an address";
    case PduError::BufferTooSmall:
      return "the buffer is too small";
  }
  return "unknown error";
}

}  // namespace sms_pdu
