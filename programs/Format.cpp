#include "Format.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace Programs {

namespace {

struct Sequence {
  std::size_t bytes;
  unsigned codePoint;
};

bool continues(unsigned char byte) noexcept {
  return (byte & 0xC0U) == 0x80U;
}

// The code point that `text`, which is not empty, begins with; 0 bytes when it is not UTF-8.
Sequence firstSequence(std::string_view text) noexcept {
  struct Form {
    unsigned mask;
    unsigned lead;
    unsigned least;
  };
  static constexpr std::array<Form, 4> forms{
      {{0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};
  auto const lead = static_cast<unsigned char>(text[0]);
  for (std::size_t extra = 0; extra < forms.size(); ++extra) {
    Form const& form = forms[extra];
    if ((lead & form.mask) != form.lead) {
      continue;
    }
    if (text.size() <= extra) {
      return {0, 0};
    }
    unsigned codePoint = lead & ~form.mask;
    for (std::size_t i = 1; i <= extra; ++i) {
      auto const byte = static_cast<unsigned char>(text[i]);
      if (!continues(byte)) {
        return {0, 0};
      }
      codePoint = codePoint << 6U | (byte & 0x3FU);
    }
    bool const surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    bool const valid = codePoint >= form.least && codePoint <= 0x10FFFF && !surrogate;
    return {valid ? extra + 1 : 0, codePoint};
  }
  return {0, 0};
}

// Also what reorders, or breaks, the line it stands in.
bool isControl(unsigned codePoint) noexcept {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F) ||
         (codePoint >= 0x200E && codePoint <= 0x200F) ||
         (codePoint >= 0x2028 && codePoint <= 0x202E) ||
         (codePoint >= 0x2066 && codePoint <= 0x2069);
}

void appendEscaped(std::string& result, std::string_view bytes) {
  static constexpr std::string_view digits = "0123456789abcdef";
  for (char const c : bytes) {
    auto const byte = static_cast<unsigned char>(c);
    result += "\\x";
    result += digits[byte >> 4U];
    result += digits[byte & 0x0FU];
  }
}

}  // namespace

std::string utcTime(std::chrono::sys_time<std::chrono::nanoseconds> time) {
  auto const day = std::chrono::floor<std::chrono::days>(time);
  std::chrono::year_month_day const date(day);
  std::chrono::hh_mm_ss const clock(time - day);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%09dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  return text.data();
}

std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t digits = 3; digits < text.size(); digits += 4) {
    text.insert(text.size() - digits, 1, ',');
  }
  return text;
}

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    Sequence const sequence = firstSequence(text);
    if (sequence.bytes == 0) {
      appendEscaped(result, text.substr(0, 1));
      text.remove_prefix(1);
      continue;
    }
    std::string_view const bytes = text.substr(0, sequence.bytes);
    if (isControl(sequence.codePoint)) {
      appendEscaped(result, bytes);
    } else if (bytes == "\\") {
      result += "\\\\";
    } else {
      result += bytes;
    }
    text.remove_prefix(sequence.bytes);
  }
  return result;
}

}  // namespace Programs
