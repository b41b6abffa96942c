// Decoding a delivered message and encoding a submitted one: 160 characters of GSM text, and 70 of UCS-2.
#include "SmsPdu.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

using namespace sms_pdu;

namespace {

UserData Content(BYTE dcs) {
  UserData userData;
  userData.dcs = dcs;
  const std::size_t length = dcs == 0 ? 160 : 70;
  for (std::size_t i = 0; i < length; ++i) userData.text[i] = static_cast<VELK_wchar_t>(u'A' + i % 26);
  userData.textLength = static_cast<BYTE>(length);
  return userData;
}

void DecodeDelivered(benchmark::State& state) {
  Deliver message;
  message.userData = Content(static_cast<BYTE>(state.range(0)));
  message.time.year = 2024;
  message.time.month = message.time.day = 7;
  MakeAddress("+491721234567", &message.originator);
  BYTE octets[kTpduOctets];
  std::size_t size = 0;
  if (EncodeDeliver(message, octets, sizeof octets, &size) != PduError::None) std::abort();
  for (auto _ : state) {
    Deliver decoded;
    benchmark::DoNotOptimize(DecodeDeliver(octets, size, &decoded));
    benchmark::DoNotOptimize(decoded);
  }
}
BENCHMARK(DecodeDelivered)->ArgName("dcs")->Arg(0)->Arg(8);

void EncodeSubmitted(benchmark::State& state) {
  Submit message;
  message.userData = Content(static_cast<BYTE>(state.range(0)));
  MakeAddress("+491721234567", &message.destination);
  for (auto _ : state) {
    BYTE octets[kTpduOctets];
    std::size_t size = 0;
    if (EncodeSubmit(message, octets, sizeof octets, &size) != PduError::None) std::abort();
    benchmark::DoNotOptimize(octets);
    benchmark::DoNotOptimize(size);
  }
}
BENCHMARK(EncodeSubmitted)->ArgName("dcs")->Arg(0)->Arg(8);

}  // namespace

BENCHMARK_MAIN();
