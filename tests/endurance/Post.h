// What arrives: messages and parts of long messages, each with a token in its text that tells it from all others.
#pragma once

#include "SmsPdu.h"

#include <map>
#include <random>
#include <string>
#include <vector>

struct Letter {
  std::string token;  // "[17]", "[17.2]"
  sms_pdu::Deliver message;
};

/// Times a token occurs.
typedef std::map<std::string, int> TokenCount;

/// `count` letters in a random order: about half of them are parts of long messages of 2 to 6 parts.
/// @param wholes  out: the texts that a store holds once every letter has arrived.
std::vector<Letter> WritePost(std::size_t count, std::mt19937& random, std::vector<std::string>& wholes);

/// Adds the tokens of a text.
void CountTokens(const std::string& text, TokenCount& count);
