// What the first octet, the data coding scheme, times and hexadecimal digits say.
#include "Equal.h"
#include "Property.h"

#include <string>

using namespace fuzz;
using namespace sms_pdu;

namespace {

void TryType(CBlock<BYTE>& octets) {
  if (octets.Size() == 0) return;
  Deliver deliver;
  Submit submit;
  StatusReport report;
  const BYTE first = octets.Data()[0];
  const bool isDeliver = DecodeDeliver(octets.Data(), octets.Size(), &deliver) != PduError::WrongType;
  const bool isSubmit = DecodeSubmit(octets.Data(), octets.Size(), &submit) != PduError::WrongType;
  const bool isReport = DecodeStatusReport(octets.Data(), octets.Size(), &report) != PduError::WrongType;
  Require(isDeliver == (TypeTowardsDevice(first) == TpduType::Deliver), "a deliver is known by its first octet");
  Require(isReport == (TypeTowardsDevice(first) == TpduType::StatusReport), "a report is known by its first octet");
  Require(isSubmit == (TypeFromDevice(first) == TpduType::Submit), "a submit is known by its first octet");
}

void TryDataCoding(BYTE dcs) {
  const DataCoding coding = ParseDataCoding(dcs);
  Require(coding.messageClass >= -1 && coding.messageClass <= 3, "a class is 0 to 3 or none");
  if (coding.compressed || coding.reserved || coding.indication || coding.autoDelete) return;
  const DataCoding again = ParseDataCoding(MakeDataCoding(coding.coding, coding.messageClass));
  Require(again.coding == coding.coding && again.messageClass == coding.messageClass, "coding and class come back");
}

void TryTime(const BYTE (&octets)[kTimeStampOctets]) {
  TimeStamp time;
  if (!DecodeTimeStamp(octets, &time)) return;
  BYTE written[kTimeStampOctets];
  EncodeTimeStamp(time, written);
  Require(std::equal(octets, octets + kTimeStampOctets - 1, written), "a time that exists comes back octet by octet");
  TimeStamp again;
  Require(DecodeTimeStamp(written, &again) && Equal(time, again), "a zone comes back");  // zero has two signs
}

void TryValidity(const BYTE (&octets)[kTimeStampOctets]) {
  Validity validity;
  validity.format = ValidityFormat::Enhanced;
  std::copy(octets, octets + kTimeStampOctets, validity.enhanced);
  DWORD seconds = 1;
  Require(ValiditySeconds(validity, &seconds) || seconds == 0, "no period, no seconds");
  Require(RelativeValidityFor(RelativeValiditySeconds(octets[0])) <= octets[0], "the shortest validity that is enough");
}

void TryHex(CBlock<BYTE>& octets, std::size_t capacity) {
  std::string digits(2 * octets.Size() + 1, ' ');
  OctetsToHex(octets.Data(), octets.Size(), digits.data());
  CBlock<BYTE> out(capacity);
  std::size_t written = 0;
  const PduError error = HexToOctets(digits.data(), 2 * octets.Size(), out.Data(), capacity, &written);
  Require(error == (capacity < octets.Size() ? PduError::BufferTooSmall : PduError::None), "digits fit or are refused");
  Require(written == std::min(capacity, octets.Size()) && std::equal(out.Data(), out.Data() + written, octets.Data()),
          "octets come back");
  CBlock<BYTE> raw(octets.Size() / 2);
  const PduError asDigits =
      HexToOctets(reinterpret_cast<const char*>(octets.Data()), octets.Size(), raw.Data(), raw.Size(), &written);
  Require(written <= raw.Size() && asDigits != PduError::BufferTooSmall, "two digits make an octet");
}

}  // namespace

/// Input: size of the buffer, then octets that are taken for each of these.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const std::size_t capacity = input.Octet();
  CBlock<BYTE> octets(input.Rest(), input.Left());
  TryType(octets);
  TryHex(octets, capacity);
  BYTE seven[kTimeStampOctets];
  for (BYTE& octet : seven) octet = input.Octet();
  TryDataCoding(seven[0]);
  TryTime(seven);
  TryValidity(seven);
  return 0;
}
