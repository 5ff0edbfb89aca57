// Files of the fast trace: whatever they hold, they are read or refused by name.
#include <span>
#include <string>

#include "Flashlog/Reader.h"
#include "fuzz/Input.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  try {
    Flashlog::Trace const trace =
        Flashlog::parseTrace("input", std::as_bytes(std::span(data, size)));
    for (Flashlog::TraceRecord const& record : trace.records) {
      Fuzz::require(record.message < trace.messages.size(), "a record has a message");
    }
  } catch (Flashlog::ReadError const& error) {
    Fuzz::require(std::string(error.what()).starts_with("input"), "the error names the file");
  }
  return 0;
}
