// What the tests of the agent share: a session whose output is kept, spoken to in the notation of
// agent scripts.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/host/Output.h"
#include "agent/program/Session.h"
#include "agent/sources/operations/Operations.h"
#include "agent/text/Json.h"
#include "agent/text/Refusal.h"
#include "agent/views/entities/EntitiesView.h"

namespace Agent {

/// Keeps the lines that were written.
class KeptOutput final : public Output {
 public:
  void lineAdd(std::string_view text) noexcept override { lines_.emplace_back(text); }

  /// The lines since the last call.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

/// A session, watched, that shows entities; the mirror waits to be started.
class TestSession {
 public:
  static Settings settings() {
    Settings settings;
    settings.show = Show::entities;
    settings.watch = true;
    settings.manualStart = true;
    return settings;
  }
  explicit TestSession(Settings const& asked = settings()) : session(asked, output) {}

  /// Applies a line that is not refused.
  void apply(std::string const& line) {
    SCOPED_TRACE(line);
    EXPECT_EQ(refusalOf(line), "");
  }

  /// Why a line is refused; the empty text if it is applied.
  std::string refusalOf(std::string const& line) {
    try {
      session.apply(parseOperation(line));
      return "";
    } catch (Refusal const& refusal) {
      return refusal.what();
    }
  }

  /// The lines that were printed since the last call.
  std::vector<std::string> printed() { return output.take(); }

  SourceView sources() const { return session.database().sources(); }
  TargetView targets() const { return session.database().targets(); }

  /// A target as `--show entities` has it.
  std::string target(char const* name) const { return entitiesView(targets()).at(name).dump(); }

  KeptOutput output;
  Session session;
};

/// Nothing is mirrored yet.
class SessionTest : public testing::Test, protected TestSession {};

/// The same with the mirror started, and nothing printed yet.
class MirroredSessionTest : public SessionTest {
 protected:
  MirroredSessionTest() {
    apply(R"({"op":"start"})");
    printed();
  }
};

}  // namespace Agent
