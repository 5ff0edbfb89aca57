// What records, decoding and the trace do, without any entity.
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Attempts.h"
#include "Flashlog/MsgDesc.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"
#include "Stp/tests/GlobalTestSupport.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/vlans/VidToMsti.h"
#include "Stp/vlans/VlanList.h"

namespace Shortage {

namespace {

// An operation on a value that begins as `value` and has a text.
template <class Value, class Operation, class Text>
Attempt changing(std::string_view name, Value value, Operation operation, Text textOf) {
  return {name, Keeps::all, true, false, [=](World& world) {
            auto const object = std::make_shared<Value>(value);
            world.beside = [=] { return textOf(*object); };
            return [=] { operation(*object); };
          }};
}

std::string listText(Stp::SharedList<Stp::VlanIdOrRange> const& list) {
  return Stp::TestSupport::textOf(list);
}
std::string containerText(Stp::OCGlobalConfigContainer const& container) {
  return Stp::GlobalTest::textOf(container);
}
std::string listsText(Stp::MstiToVid const& lists) {
  std::string text;
  for (auto const& [id, vlans] : lists) {
    text += std::to_string(id) + ": " + listText(vlans.list()) + "\n";
  }
  return text;
}

Stp::SharedList<Stp::VlanIdOrRange> fullList() {
  Stp::SharedList<Stp::VlanIdOrRange> list;
  for (std::uint16_t vlan = 1; vlan <= 6; ++vlan) {
    list.push(Bridging::VlanId(static_cast<std::uint16_t>(vlan * 2)));
  }
  return list;
}

// More instances than the first room of a map is for.
Lumo::Bytes manyInstances() {
  Lumo::Bytes bytes;
  for (std::uint16_t vlan = 2; vlan <= 60; ++vlan) {
    for (int const number : {0, int{vlan}, vlan / 3, 1}) {
      bytes.push(static_cast<std::uint8_t>(number));
    }
  }
  return bytes;
}

// A trace file in a folder of its own, and a message that may have an id.
struct Trace {
  Flashlog::TemporaryFolder folder;
  Flashlog::TraceFile file{folder.file("trace"), Flashlog::smallTrace(1)};
  int id = 0;

  std::string text() const {
    std::string texts = file.registered(id) ? "registered\n" : "not registered\n";
    for (Flashlog::Message const& message : Flashlog::readTrace(file.path()).messages) {
      texts += message.text + "\n";
    }
    return texts;
  }
};

Attempt tracing(std::string_view name, void (*operation)(Trace&)) {
  return {name, Keeps::all, true, false, [=](World& world) {
            auto const trace = std::make_shared<Trace>();
            world.beside = [=] { return trace->text(); };
            return [=] { operation(*trace); };
          }};
}

}  // namespace

std::vector<Attempt> dataAttempts() {
  return {
      changing(
          "SharedList::push", fullList(), [](auto& list) { list.push(Bridging::VlanId(20)); },
          &listText),
      changing(
          "SharedList::last of a copy", fullList(),
          [kept = std::make_shared<Stp::SharedList<Stp::VlanIdOrRange>>()](auto& list) {
            *kept = list;
            list.last() = Bridging::VlanId(20);
          },
          &listText),
      changing(
          "enabledProtocolPush", Stp::OCGlobalConfigContainer(),
          [](auto& record) { record.enabledProtocolPush(Stp::OcStpEnabledProtocol::mstp); },
          &containerText),
      changing(
          "addDisabledVlanIdOrRange", Stp::OCGlobalConfigContainer(),
          [](auto& record) { Stp::addDisabledVlanIdOrRange(record, 5, 9); }, &containerText),
      {"compressDisabledVlans", Keeps::users, true, false,
       [](World& world) {
         auto const record = std::make_shared<Stp::OCGlobalConfigContainer>();
         world.beside = [=] { return containerText(*record); };
         return [record, set = [] {
           Stp::VlanSet disabled;
           for (std::uint16_t vlan = 1; vlan < 200; vlan += 3) {
             disabled.insert(vlan);
           }
           return disabled;
         }()] { Stp::compressDisabledVlans(*record, set); };
       }},
      {"mstiToVidFromBytes", Keeps::all, true, false,
       [](World& world) {
         auto const lists = std::make_shared<Stp::MstiToVid>();
         world.beside = [=] { return listsText(*lists); };
         return [lists, map = manyInstances()] { *lists = Stp::mstiToVidFromBytes(map); };
       }},
      {"addVlanToMstiMap", Keeps::all, true, false,
       [](World& world) {
         auto const lists = std::make_shared<Stp::MstiToVid>();
         world.beside = [=] { return listsText(*lists); };
         return [lists] { Stp::addVlanToMstiMap(*lists, 7, 5); };
       }},
      tracing("MsgDesc",
              [](Trace& trace) {
                Flashlog::MsgDesc message(trace.file, trace.id, "/src/A", 7);
                message << "a text that is too long for the room inside of a string: " << 7U;
                message.finish();
              }),
      tracing("TraceFile::registerMessage",
              [](Trace& trace) {
                trace.file.registerMessage(5000, "/src/A", 7, "a text");
                trace.id = 5000;
              }),
  };
}

}  // namespace Shortage
