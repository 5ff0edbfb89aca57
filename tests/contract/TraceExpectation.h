// Runs something under both traces, and compares what they got with literal rows.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Flashlog/FlashlogHandle.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"
#include "Stp/frame/tests/FrameTestSupport.h"

namespace Stp::ContractTest {

/// One traced block: the message in the fast trace, and the text at level 8.
struct Row {
  std::string message;
  std::string text;
};

/// "156 handleEnabledProtocol" of "Stp::OCGlobalConfigSm::handleEnabledProtocol():156": the line
/// and the bare name of the handler.
inline std::string siteOf(std::string const& message) {
  std::string const name = message.substr(0, message.find('('));
  return message.substr(message.rfind(':') + 1) + " " + name.substr(name.rfind(':') + 1);
}

/// The lines of the text trace that go with the rows.
inline std::vector<std::string> linesOf(std::vector<Row> const& rows) {
  std::vector<std::string> lines;
  lines.reserve(rows.size());
  for (Row const& row : rows) {
    lines.push_back("StpOCSm 8 /src/Stp/StpOpenConfigSm:" + siteOf(row.message) + " " + row.text);
  }
  return lines;
}

inline std::vector<std::string> messagesOf(std::vector<Row> const& rows) {
  std::vector<std::string> messages;
  messages.reserve(rows.size());
  for (Row const& row : rows) {
    messages.push_back(row.message);
  }
  return messages;
}

/// The messages of a trace file, record by record. Each is registered once, under the module's
/// path and the line that its text ends with.
inline std::vector<std::string> recordsOf(Flashlog::Trace const& trace) {
  std::set<std::string> registered;
  for (Flashlog::Message const& message : trace.messages) {
    EXPECT_TRUE(registered.insert(message.text).second) << message.text << " registered twice";
    EXPECT_EQ(message.sourcePath, "/src/Stp/StpOpenConfigSm") << message.text;
    EXPECT_EQ(message.text.substr(message.text.rfind(':') + 1), std::to_string(message.line));
  }
  std::vector<std::string> records;
  for (Flashlog::TraceRecord const& record : trace.records) {
    records.push_back(trace.messages.at(record.message).text);
  }
  EXPECT_EQ(trace.lost, 0U);
  EXPECT_EQ(trace.torn, 0U);
  return records;
}

/// Expects `run` to open these blocks, in this order, and no others.
inline void expectTraced(std::function<void()> const& run, std::vector<Row> const& rows) {
  Flashlog::TemporaryFolder const folder;
  TestSupport::HandlerLines lines;
  {
    Flashlog::FlashlogHandle handle(folder.file("trace"));
    Flashlog::DefaultHandleScope const scope(handle);
    run();
  }
  EXPECT_EQ(lines.lines(), linesOf(rows));
  EXPECT_EQ(recordsOf(Flashlog::readTrace(folder.file("trace"))), messagesOf(rows));
}

}  // namespace Stp::ContractTest
