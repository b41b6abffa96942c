// Decoding a delivered message (at most 600 ns) and encoding a submitted one (500 ns): 160 characters of GSM text, and
// 70 of UCS-2. Packing septets beside other libraries (at most 1.5 to 1).
#include "SmsPdu.h"

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>

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

// --- the septet packer beside those of published C libraries, where they are installed

/// A packer of another library: septets without fill bits in front.
struct OtherPacker {
  const char* library;
  const char* package;  // Debian
  const char* symbol;
  void (*pack)(void* function, const BYTE* septets, std::size_t count, BYTE* out);
};

const OtherPacker kGammu = {"libGammu.so.8", "libgammu8", "GSM_PackSevenBitsToEight",
                            [](void* function, const BYTE* septets, std::size_t count, BYTE* out) {
                              typedef int (*Pack)(std::size_t, const unsigned char*, unsigned char*, std::size_t);
                              reinterpret_cast<Pack>(function)(0, septets, out, count);
                            }};
const OtherPacker kOsmocom = {"libosmogsm.so.18", "libosmogsm18", "gsm_septet_pack",
                              [](void* function, const BYTE* septets, std::size_t count, BYTE* out) {
                                typedef int (*Pack)(std::uint8_t*, const std::uint8_t*, std::size_t, std::uint8_t);
                                reinterpret_cast<Pack>(function)(out, septets, count, 0);
                              }};

void* FunctionOf(const OtherPacker& other) {
  void* const library = dlopen(other.library, RTLD_NOW);
  return library == nullptr ? nullptr : dlsym(library, other.symbol);
}

/// Nanoseconds of one call; the fastest of several short runs, which others on the machine disturb least.
template <class Call>
double FastestNs(const Call& call) {
  typedef std::chrono::steady_clock Clock;
  const int kCalls = 2000;
  double fastest = 1e9;
  for (int run = 0; run < 50; ++run) {
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < kCalls; ++i) call();
    const std::chrono::duration<double, std::nano> spent = Clock::now() - start;
    fastest = std::min(fastest, spent.count() / kCalls);
  }
  return fastest;
}

void PackSeptetsBeside(benchmark::State& state, const OtherPacker& other) {
  void* const function = FunctionOf(other);
  if (function == nullptr) {
    state.SkipWithError(
        (std::string("not installed (Debian: ") + other.package + "); nothing to compare with").c_str());
    return;
  }
  BYTE septets[kMaxSeptets];
  for (std::size_t i = 0; i < kMaxSeptets; ++i) septets[i] = static_cast<BYTE>(i * 37 % 128);
  BYTE packed[PackedOctets(kMaxSeptets, 0)];
  BYTE packedByThem[2 * sizeof packed] = {};
  PackSeptets(septets, kMaxSeptets, 0, packed);
  other.pack(function, septets, kMaxSeptets, packedByThem);
  if (std::memcmp(packed, packedByThem, sizeof packed) != 0) {
    state.SkipWithError("it packs something else: the comparison means nothing");
    return;
  }
  double ours = 0;
  double theirs = 0;
  for (auto _ : state) {
    ours = FastestNs([&] {
      PackSeptets(septets, kMaxSeptets, 0, packed);
      benchmark::DoNotOptimize(packed);
    });
    theirs = FastestNs([&] {
      other.pack(function, septets, kMaxSeptets, packedByThem);
      benchmark::DoNotOptimize(packedByThem);
    });
  }
  state.counters["ours_ns"] = ours;
  state.counters["theirs_ns"] = theirs;
  state.counters["ratio"] = ours / theirs;  // at most 1.5
}
BENCHMARK_CAPTURE(PackSeptetsBeside, gammu, kGammu)->Iterations(1);
BENCHMARK_CAPTURE(PackSeptetsBeside, osmocom, kOsmocom)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
