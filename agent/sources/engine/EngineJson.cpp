#include "agent/sources/engine/EngineJson.h"

#include <algorithm>
#include <array>
#include <utility>

#include "agent/sources/engine/MemberReader.h"

namespace Agent {
namespace {

/// Twice the depth that the engine prints.
constexpr std::size_t maxDepth = 8;

constexpr std::string_view blanks = " \t\r\n";

/// The members that snapshots are made of, sorted; of all others nothing is kept.
constexpr std::array<std::string_view, 51> readMembers{
    "admin-edge-port",
    "admin-point-to-point",
    "auto-edge-port",
    "bpdu-filter-port",
    "bpdu-guard-error",
    "bpdu-guard-port",
    "bridge",
    "bridge-forward-delay",
    "bridge-id",
    "bridge-max-age",
    "configuration-name",
    "designated-bridge",
    "designated-port",
    "designated-root",
    "disputed",
    "dsgn-external-cost",
    "dsgn-internal-cost",
    "dsgn-regional-root",
    "enabled",
    "external-port-cost",
    "fid",
    "fid2mstid",
    "force-protocol-version",
    "forward-delay",
    "hello-time",
    "internal-path-cost",
    "internal-port-cost",
    "max-age",
    "max-hops",
    "mstid",
    "mstids",
    "num-rx-bpdu",
    "num-transition-fwd",
    "num-tx-bpdu",
    "oper-edge-port",
    "path-cost",
    "point-to-point",
    "port",
    "port-id",
    "regional-root",
    "restricted-role",
    "revision-level",
    "role",
    "root-port",
    "state",
    "stp-enabled",
    "time-since-topology-change",
    "topology-change-count",
    "tx-hold-count",
    "vid",
    "vid2fid",
};
static_assert(std::ranges::is_sorted(readMembers));

std::string_view withoutLeadingBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(blanks), text.size()));
}

/// Whether the quote before `rest` ends a value, because the next member follows, or, for the
/// member that the engine prints last, the end of the object.
bool endsValue(std::string_view rest, bool const isLast) {
  rest = withoutLeadingBlanks(rest);
  if (isLast && rest.starts_with('}')) {
    rest.remove_prefix(rest.starts_with("}]") ? 2 : 1);
    return rest.empty() || rest.starts_with(',') ||
           blanks.find(rest.front()) != std::string_view::npos;
  }
  if (!rest.starts_with(',')) {
    return false;
  }
  rest = withoutLeadingBlanks(rest.substr(1));
  auto const end =
      rest.find_first_not_of("-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", 1);
  return rest.starts_with('"') && end != std::string_view::npos && rest[end] == '"' &&
         withoutLeadingBlanks(rest.substr(end + 1)).starts_with(':');
}

/// Whether a byte of a string stands for itself in JSON, whatever is beside it.
bool isPlain(char const c) {
  return c >= ' ' && c < '\x7F' && c != '"' && c != '\\';
}

/// A text as a JSON string.
std::string asJson(std::string_view const text) {
  return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool isUtf8(std::string_view const text) {
  return readableText(text) == text;
}

/// Makes JSON of what the engine prints, as EngineSnapshot.h describes. Strings, brackets and the
/// words between them are taken care of here; the rest of the grammar is left to the JSON parser.
class Mender {
 public:
  /// `lacksBracket`: the outer list is expected to be left open.
  Mender(std::string_view text, bool lacksBracket, std::vector<std::string>* remarks)
      : text_(text),
        lacksBracket_(lacksBracket),
        remarks_(remarks),
        regionEnd_(text.rfind(R"(","revision-level":)")) {}

  std::string mended() {
    while (position_ < text_.size()) {
      char const c = text_[position_];
      if (c == '"') {
        string();
      } else if (std::string_view("{}[]:,").find(c) != std::string_view::npos) {
        punctuation(c);
      } else if (blanks.find(c) != std::string_view::npos) {
        ++position_;
      } else {
        word();
      }
    }
    if (!open_.empty() || result_.empty()) {
      throw Refusal("ends too early, after " + std::to_string(text_.size()) + " bytes");
    }
    return std::move(result_);
  }

 private:
  void punctuation(char const c) {
    if (c == '{' || c == '[') {
      if (open_.size() == maxDepth) {
        throw Refusal("nested deeper than " + std::to_string(maxDepth) + " levels");
      }
      open_ += c;
    } else if (c == '}' && lacksBracket_ && open_ == "{[") {
      result_ += ']';
      open_.clear();
    } else if (c == '}' || c == ']') {
      if (!open_.ends_with(c == '}' ? '{' : '[')) {
        throw Refusal(inQuotes({&c, 1}) + " is out of place after " + std::to_string(position_) +
                      " bytes");
      }
      open_.pop_back();
    }
    isValue_ = c == ':';
    result_ += c;
    ++position_;
  }

  void string() {
    auto const begin = position_ + 1;
    auto const end = isValue_ ? valueEnd(begin) : text_.find('"', begin);
    if (end == std::string_view::npos) {
      throw Refusal("ends too early, after " + std::to_string(text_.size()) + " bytes");
    }
    auto const content = text_.substr(begin, end - begin);
    if (!isValue_ && open_.ends_with('{')) {
      member_ = content;
    }
    if (std::ranges::all_of(content, isPlain)) {
      result_.append("\"").append(content).append("\"");
    } else {
      std::string const quoted = asJson(content);
      result_ += quoted;
      if (remarks_ != nullptr && isShown() && !isUtf8(content)) {
        remarks_->push_back("member " + inQuotes(member_) + " is not UTF-8, shown as " + quoted);
      }
    }
    isValue_ = false;
    position_ = end + 1;
  }

  /// Whether the value of `member_` is among what is mirrored.
  bool isShown() const {
    return isValue_ && (member_ == "port" || member_ == "configuration-name");
  }

  /// Where the value of `member_` that starts at `begin` ends.
  std::size_t valueEnd(std::size_t const begin) const {
    if (member_ == "configuration-name" && regionEnd_ != std::string_view::npos &&
        regionEnd_ >= begin) {
      return regionEnd_;
    }
    constexpr std::array<std::string_view, 5> names{
        "bridge", "port", "root-port", "topology-change-port", "last-topology-change-port",
    };
    auto end = text_.find('"', begin);
    if (std::find(names.begin(), names.end(), member_) == names.end()) {
      return end;
    }
    while (end != std::string_view::npos &&
           !endsValue(text_.substr(end + 1), member_ == "last-topology-change-port")) {
      end = text_.find('"', end + 1);
    }
    // The engine's message may stand behind the name, and what looked like its end much further.
    auto const name = text_.substr(begin, end - begin);
    if (name.find(':') != std::string_view::npos) {
      throw Refusal("member " + inQuotes(member_) + " is no name: " + inQuotes(name));
    }
    return end;
  }

  /// A number or literal. Anything else is no JSON, but the engine's message.
  void word() {
    auto const rest = text_.substr(position_);
    auto const word = rest.substr(0, rest.find_first_of("{}[]:,\" \t\r\n"));
    if (!Json::accept(word)) {
      throw Refusal("other text than JSON after " + std::to_string(position_) +
                    " bytes: " + inQuotes(rest.substr(0, rest.find('\n'))));
    }
    result_ += word;
    isValue_ = false;
    position_ += word.size();
  }

  std::string_view text_;
  bool lacksBracket_;
  std::vector<std::string>* remarks_;
  std::size_t regionEnd_;
  std::size_t position_ = 0;
  std::string result_;
  std::string open_;
  std::string_view member_;
  bool isValue_ = false;
};

}  // namespace

std::string readableText(std::string_view const text) {
  return Json::parse(asJson(text)).get<std::string>();
}

Json engineJson(std::string_view const text, bool const lacksBracket,
                std::vector<std::string>* const remarks) {
  auto const mended = Mender(text, lacksBracket, remarks).mended();
  try {
    return parseMembers(mended, readMembers);
  } catch (Json::parse_error const& error) {
    constexpr std::size_t before = 40;
    auto const begin = std::min(std::max(error.byte, before) - before, mended.size());
    throw Refusal("not understood as JSON near " + inQuotes(mended.substr(begin)));
  }
}

Json const& member(Json const& object, char const* const name) {
  if (!object.is_object()) {
    throw Refusal("an object is expected");
  }
  auto const found = object.find(name);
  if (found == object.end()) {
    throw Refusal("member " + inQuotes(name) + " is missing");
  }
  return *found;
}

std::string const& stringMember(Json const& object, char const* const name) {
  auto const& value = member(object, name);
  if (!value.is_string()) {
    throw Refusal("member " + inQuotes(name) + " is no string");
  }
  return value.get_ref<std::string const&>();
}

Json const& listMember(Json const& object, char const* const name, bool const ofStrings) {
  auto const& value = member(object, name);
  if (!value.is_array()) {
    throw Refusal("member " + inQuotes(name) + " is no list");
  }
  if (ofStrings && !std::all_of(value.begin(), value.end(),
                                [](Json const& entry) { return entry.is_string(); })) {
    throw Refusal("member " + inQuotes(name) + " holds something else than strings");
  }
  return value;
}

void memberIs(Json const& object, char const* const name, std::string const& expected) {
  auto const& value = stringMember(object, name);
  if (value != expected) {
    throw Refusal("member " + inQuotes(name) + " is " + inQuotes(value) + ", not " +
                  inQuotes(expected));
  }
}

std::size_t choiceMember(Json const& object, char const* const name,
                         std::initializer_list<std::string_view> const choices) {
  auto const& value = stringMember(object, name);
  auto const* const found = std::find(choices.begin(), choices.end(), value);
  if (found == choices.end()) {
    std::string list;
    for (auto const choice : choices) {
      list += (list.empty() ? "" : ", ") + inQuotes(choice);
    }
    throw Refusal("member " + inQuotes(name) + " is " + inQuotes(value) + ", not one of " + list);
  }
  return static_cast<std::size_t>(found - choices.begin());
}

bool isYes(Json const& object, char const* const name) {
  return choiceMember(object, name, {"yes", "no"}) == 0;
}

}  // namespace Agent
