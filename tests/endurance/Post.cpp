#include "Post.h"

#include <algorithm>

namespace {

sms_pdu::Deliver MessageFrom(std::size_t sender, const std::string& text) {
  sms_pdu::Deliver message;
  sms_pdu::MakeAddress(("+4917" + std::to_string(100000000 + sender)).c_str(), &message.originator);
  message.time.year = 2024;
  message.time.month = 5;
  message.time.day = 6;
  message.time.hour = 7;
  const std::u16string wide(text.begin(), text.end());
  sms_pdu::SetText(&message.userData, wide.data(), wide.size());
  return message;
}

/// A few words, different for every token.
std::string TextOf(const std::string& token, std::mt19937& random) {
  return token + std::string(std::uniform_int_distribution<std::size_t>(1, 100)(random), 'x');
}

Letter SingleLetter(std::size_t number, std::mt19937& random) {
  Letter letter;
  letter.token = "[" + std::to_string(number) + "]";
  letter.message = MessageFrom(number % 7, TextOf(letter.token, random));
  return letter;
}

Letter PartLetter(std::size_t number, BYTE sequence, BYTE total, std::mt19937& random) {
  Letter letter;
  letter.token = "[" + std::to_string(number) + "." + std::to_string(sequence) + "]";
  letter.message = MessageFrom(number, TextOf(letter.token, random));
  sms_pdu::Concatenation part;
  part.reference = static_cast<WORD>(number & 0xFF);
  part.total = total;
  part.sequence = sequence;
  sms_pdu::AddConcatenation(&letter.message.userData.header, part);
  return letter;
}

std::string ContentOf(const Letter& letter) {
  const sms_pdu::UserData& data = letter.message.userData;
  return std::string(data.text, data.text + data.textLength);
}

}  // namespace

std::vector<Letter> WritePost(std::size_t count, std::mt19937& random, std::vector<std::string>& wholes) {
  std::vector<Letter> letters;
  for (std::size_t number = 0; letters.size() < count; ++number) {
    const std::size_t total = number % 5 != 0 ? 1 : std::min<std::size_t>(count - letters.size(), 2 + random() % 5);
    std::string whole;
    for (std::size_t sequence = 1; sequence <= total; ++sequence) {
      letters.push_back(total == 1 ? SingleLetter(number, random)
                                   : PartLetter(number, static_cast<BYTE>(sequence), static_cast<BYTE>(total), random));
      whole += ContentOf(letters.back());
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
