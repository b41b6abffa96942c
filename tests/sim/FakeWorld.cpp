// Takes outputs apart.
#include "FakeWorld.h"

std::vector<std::string> LinesOf(const std::string& output) {
  std::vector<std::string> lines;
  std::string line;
  const auto flush = [&] {
    if (!line.empty()) lines.push_back(line == "> " ? ">" : line);
    line.clear();
  };
  for (const char c : output) {
    if (c == '\r' || c == '\n') {
      flush();
    } else {
      line += c;
    }
  }
  flush();
  return lines;
}
