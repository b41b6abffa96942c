// The message PDUs of data/tpdus.jsonl, from real modems, networks and other projects' tests, and what they say.
#pragma once

#include "SmsPdu.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// One line of the file. want names the fields that are checked, or {"error": ErrorText}; why says where other
/// readers differ and what counts here.
struct PduRow {
  std::string id;
  std::string as;  // deliver, submit or report
  bool centre;     // the service centre stands in front
  std::string hex;
  bool same;  // encodes to the same octets again
  nlohmann::json want;
};

const std::vector<PduRow>& PduRows();

/// Decodes a row's octets as the row says and names every field as want does.
nlohmann::json Describe(const std::string& as, const std::vector<BYTE>& tpdu);
/// Decodes and encodes again.
/// @return the octets; empty when they were refused.
std::vector<BYTE> Reencode(const std::string& as, const std::vector<BYTE>& tpdu);

std::vector<BYTE> Octets(const std::string& hex);
std::string Hex(const BYTE* octets, std::size_t size);
std::string Hex(const std::vector<BYTE>& octets);
