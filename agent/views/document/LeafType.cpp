#include "agent/views/document/LeafType.h"

#include <algorithm>

namespace Agent {

namespace {

bool isYangString(std::string_view text) {
  auto const byte = [&](std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  for (std::size_t at = 0; at < text.size(); ++at) {
    unsigned const first = byte(at);
    unsigned const second = byte(at + 1);
    unsigned const third = byte(at + 2);
    bool const control = first < 0x20 && first != '\t' && first != '\n' && first != '\r';
    // In UTF-8: U+FDD0 to U+FDEF, U+FFFE and U+FFFF, and the last two of every further plane.
    bool const noncharacter =
        (first == 0xEF && second == 0xB7 && third >= 0x90 && third <= 0xAF) ||
        (first == 0xEF && second == 0xBF && third >= 0xBE) ||
        (first >= 0xF0 && (second & 0xFU) == 0xF && third == 0xBF && byte(at + 3) >= 0xBE);
    if (control || noncharacter) {
      return false;
    }
  }
  return true;
}

// In UTF-8: bytes that go on with a character don't count.
std::uint64_t charactersOf(std::string_view text) {
  return static_cast<std::uint64_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

}  // namespace

bool LeafType::allows(LeafValue const& value) const {
  auto const isWithin = [this](std::uint64_t size) { return size >= least && size <= greatest; };
  if (auto const* const number = std::get_if<std::uint64_t>(&value)) {
    return isWithin(*number);
  }
  auto const* const text = std::get_if<std::string>(&value);
  return text == nullptr || kind != Kind::string ||
         (isYangString(*text) && isWithin(charactersOf(*text)));
}

}  // namespace Agent
