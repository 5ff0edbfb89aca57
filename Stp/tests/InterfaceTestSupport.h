// What the tests of the interface mirrors share beyond TestSupport.h: the fast trace as a list of
// texts, the children of a reactor, refused children, and changes of every number.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "Flashlog/FlashlogHandle.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"
#include "Lumo/Entity.h"
#include "Lumo/HideMe.h"
#include "Lumo/ModuleInspect.h"
#include "Lumo/Ptr.h"
#include "Stp/tests/TestSupport.h"
#include "StpTypes/Status.h"

namespace Stp::InterfaceTest {

using TestSupport::expectReinstantiationRefused;
using TestSupport::HandlerLines;
using TestSupport::LeavesNothing;
using TestSupport::Watch;

/// How many objects of a class live now.
template <class Class>
std::uint64_t liveCount() {
  return Class::memAllocationTracker_.live();
}

/// How many were ever made.
template <class Class>
std::uint64_t madeCount() {
  return Class::memAllocationTracker_.total();
}

/// The line that HandlerLines has for a handler's text, which opens with "CLASS::HANDLER() ".
inline std::string handlerLine(unsigned line, std::string const& text) {
  std::size_t const name =
      text.find("]::") == std::string::npos ? text.find("::") + 2 : text.find("]::") + 3;
  return "StpOCSm 8 /src/Stp/StpOpenConfigSm:" + std::to_string(line) + " " +
         text.substr(name, text.find("() ") - name) + " " + text;
}

/// Collects the messages of the fast trace during its scope.
class FastTrace {
 public:
  /// The messages of the blocks so far, in the order in which these ended.
  std::vector<std::string> blocks() const {
    Flashlog::Trace trace = Flashlog::readTrace(folder_.file("trace"));
    std::ranges::sort(trace.records, {}, &Flashlog::TraceRecord::sequence);
    std::vector<std::string> texts;
    for (Flashlog::TraceRecord const& record : trace.records) {
      Flashlog::Message const& message = trace.messages.at(record.message);
      EXPECT_EQ(message.sourcePath, "/src/Stp/StpOpenConfigSm");
      EXPECT_TRUE(message.text.ends_with(":" + std::to_string(message.line))) << message.text;
      texts.push_back(message.text);
    }
    return texts;
  }

 private:
  Flashlog::TemporaryFolder folder_;
  Flashlog::FlashlogHandle handle_{folder_.file("trace")};
  Flashlog::DefaultHandleScope scope_{handle_};
};

/// One child of a reactor.
struct ChildMember {
  std::string name;
  Lumo::Ptr<Lumo::Node> child;
};

/// The children in one set of a reactor, in the order of the set.
inline std::vector<ChildMember> childrenOf(Lumo::Node& parent, std::string_view set) {
  Lumo::ClassInspectData const* const type = Lumo::classOf(parent);
  std::vector<ChildMember> children;
  for (auto const at = type->hideMe->childIterator(parent, *type->field(set)); !at->atEnd();
       at->advance()) {
    children.push_back({at->key().toString(), at->child()});
  }
  return children;
}

/// Their names alone.
inline std::vector<std::string> childNamesOf(Lumo::Node& parent, std::string_view set) {
  std::vector<std::string> names;
  for (ChildMember const& member : childrenOf(parent, set)) {
    names.push_back(member.name);
  }
  return names;
}

/// The instances of a bridge and the ports that they list.
class InstancesTest : public LeavesNothing {
 protected:
  using Names = std::vector<std::string>;

  /// Adds an instance that lists some ports from the start, also in the place of one.
  Lumo::Ptr<StpiStatus> addInstance(Lumo::String const& name,
                                    std::initializer_list<char const*> ports = {}) {
    auto instance = Lumo::make<StpiStatus>();
    for (char const* const port : ports) {
      instance->stpiPortStatus.is(port, Lumo::make<StpiPortStatus>());
    }
    status->stpiStatus.is(name, instance);
    return instance;
  }
  void removeInstance(Lumo::String const& name) { status->stpiStatus.del(name); }

  Lumo::Ptr<Status> status = Lumo::make<Status>();
};

/// Announces a change of every number that an attribute could have, each with the same key, and
/// calls `after(field)` for each.
template <class After>
void publishEveryField(Lumo::Entity const& entity, void const* key, After after) {
  for (unsigned field = 0; field <= 0xFFFF; ++field) {
    entity.publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(field), key, nullptr);
    after(field);
  }
}

}  // namespace Stp::InterfaceTest
