#include "Post.h"

#include <algorithm>

namespace {

std::string NumberOf(std::size_t person) { return "+4917" + std::to_string(100000000 + person); }

sms_pdu::TimeStamp Morning() {
  sms_pdu::TimeStamp time;
  time.year = 2024;
  time.month = 5;
  time.day = 6;
  time.hour = 7;
  return time;
}

/// A few words, different for every token.
std::string TextOf(const std::string& token, std::mt19937& random) {
  return token + std::string(std::uniform_int_distribution<std::size_t>(1, 100)(random), 'x');
}

sms_pdu::Deliver MessageFrom(std::size_t person, const std::string& text) {
  sms_pdu::Deliver message;
  sms_pdu::MakeAddress(NumberOf(person).c_str(), &message.originator);
  message.time = Morning();
  const std::u16string wide(text.begin(), text.end());
  sms_pdu::SetText(&message.userData, wide.data(), wide.size());
  return message;
}

/// @param text  out: what it says.
Letter SingleLetter(std::size_t number, std::mt19937& random, std::string& text) {
  const std::string token = "[" + std::to_string(number) + "]";
  text = TextOf(token, random);
  return {token, MessageFrom(number % 7, text)};
}

Letter PartLetter(std::size_t number, std::size_t sequence, std::size_t total, std::mt19937& random,
                  std::string& text) {
  const std::string token = "[" + std::to_string(number) + "." + std::to_string(sequence) + "]";
  text = TextOf(token, random);
  sms_pdu::Deliver message = MessageFrom(number, text);
  sms_pdu::Concatenation part;
  part.reference = static_cast<WORD>(number & 0xFF);
  part.total = static_cast<BYTE>(total);
  part.sequence = static_cast<BYTE>(sequence);
  sms_pdu::AddConcatenation(&message.userData.header, part);
  return {token, message};
}

}  // namespace

std::vector<Letter> WritePost(std::size_t count, std::mt19937& random, std::vector<std::string>& wholes) {
  std::vector<Letter> letters;
  for (std::size_t number = 0; letters.size() < count; ++number) {
    const std::size_t total = number % 5 != 0 ? 1 : std::min<std::size_t>(count - letters.size(), 2 + random() % 5);
    std::string whole;
    for (std::size_t sequence = 1; sequence <= total; ++sequence) {
      std::string text;
      letters.push_back(total == 1 ? SingleLetter(number, random, text)
                                   : PartLetter(number, sequence, total, random, text));
      whole += text;
    }
    wholes.push_back(whole);
  }
  std::shuffle(letters.begin(), letters.end(), random);
  return letters;
}

void CountTokens(const std::string& text, TokenCount& count) {
  for (std::size_t begin = text.find('['); begin != std::string::npos; begin = text.find('[', begin + 1)) {
    ++count[text.substr(begin, text.find(']', begin) - begin + 1)];
  }
}
