/// The JSON of the engine: its text is mended, as EngineSnapshot.h describes, and read member by
/// member. What isn't understood is refused with the member at fault; the caller adds the file it
/// is in.

#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "agent/text/Json.h"
#include "agent/text/Refusal.h"

namespace Agent {

/// What the engine's text says. `lacksBracket`: the list in the outer object may be left open. Adds
/// to `remarks`, if there are to be any, what is read and not shown as it is printed. Throws
/// Refusal for what can't be mended, and for text nested too deeply.
Json engineJson(std::string_view text, bool lacksBracket,
                std::vector<std::string>* remarks = nullptr);

/// A text of the engine as engineJson has it: with U+FFFD for what isn't UTF-8.
std::string readableText(std::string_view text);

/// The members of an object, which throw Refusal if `object` is no object, has no such member or
/// the member isn't as described.
Json const& member(Json const& object, char const* name);

/// The member, a string.
std::string const& stringMember(Json const& object, char const* name);

/// The member, a list; of strings only, if `ofStrings`.
Json const& listMember(Json const& object, char const* name, bool ofStrings);

/// The member is the string expected.
void memberIs(Json const& object, char const* name, std::string const& expected);

/// Which of the `choices` the member is, a string.
std::size_t choiceMember(Json const& object, char const* name,
                         std::initializer_list<std::string_view> choices);

/// The member, "yes" or "no".
bool isYes(Json const& object, char const* name);

/// Hands every entry of a list to `read`, with the name that a Refusal thrown by it starts with:
/// the entry's number until `read` knows better.
template <typename Read>
void eachEntry(Json const& list, Read const read) {
  if (!list.is_array()) {
    throw Refusal("a list is expected");
  }
  std::size_t number = 0;
  for (auto const& entry : list) {
    std::string name = "entry " + std::to_string(++number);
    try {
      read(entry, name);
    } catch (Refusal const& refusal) {
      throw Refusal(name + ": " + refusal.what());
    }
  }
}

}  // namespace Agent
