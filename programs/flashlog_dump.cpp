// flashlog-dump: prints the records of trace files, or a summary of them.

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "CommandLine.h"
#include "Flashlog/Reader.h"
#include "Format.h"

namespace {

constexpr int exitOk = 0;
constexpr int exitFileProblem = 1;
constexpr int exitWrongCommandLine = 2;

// A path longer than this puts the text that follows out of its column.
constexpr std::size_t widestSource = 60;

// Standard output. Once a write to it failed, nothing more is written.
class Output {
 public:
  void text(std::string const& text) {
    if (error_ == 0 && std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
      error_ = errno;
    }
  }

  [[nodiscard]] bool usable() const { return error_ == 0; }

  // The exit status of the program, `status` if all was written. Nobody is told when the reader of
  // a pipe has had enough.
  [[nodiscard]] int finish(int status) {
    if (error_ == 0 && std::fflush(stdout) != 0) {
      error_ = errno;
    }
    if (error_ == 0 || error_ == EPIPE) {
      return status;
    }
    std::fprintf(stderr, "flashlog-dump: standard output: %s\n", std::strerror(error_));
    return exitFileProblem;
  }

 private:
  int error_ = 0;
};

std::string padLeft(std::string text, std::size_t width) {
  text.insert(0, width - std::min(width, text.size()), ' ');
  return text;
}

std::string padRight(std::string text, std::size_t width) {
  text.append(width - std::min(width, text.size()), ' ');
  return text;
}

std::string source(Flashlog::Message const& message) {
  return Programs::printable(message.sourcePath) + ":" + std::to_string(message.line);
}

std::uint64_t nanoseconds(Flashlog::TraceRecord const& record) {
  return static_cast<std::uint64_t>(record.duration.count());
}

// A message as it is printed.
struct PrintedMessage {
  std::string source;
  std::string text;
};

// Of columns that more columns follow.
struct Widths {
  std::size_t duration = 0;
  std::size_t source = 0;
};

void printRecords(std::vector<Flashlog::Trace> const& traces, Output& output) {
  Widths widths;
  std::vector<std::vector<PrintedMessage>> printed;
  std::vector<std::pair<Flashlog::TraceRecord const*, PrintedMessage const*>> lines;
  for (Flashlog::Trace const& trace : traces) {
    auto& messages = printed.emplace_back();
    for (Flashlog::Message const& message : trace.messages) {
      messages.push_back({source(message), Programs::printable(message.text)});
    }
  }
  for (std::size_t i = 0; i < traces.size(); ++i) {
    for (Flashlog::TraceRecord const& record : traces[i].records) {
      PrintedMessage const& message = printed[i][record.message];
      widths.duration = std::max(widths.duration, Programs::grouped(nanoseconds(record)).size());
      widths.source = std::max(widths.source, std::min(message.source.size(), widestSource));
      lines.emplace_back(&record, &message);
    }
  }
  if (traces.size() > 1) {
    std::stable_sort(lines.begin(), lines.end(), [](auto const& left, auto const& right) {
      return left.first->start < right.first->start;
    });
  }
  for (auto const& [record, message] : lines) {
    if (!output.usable()) {
      return;
    }
    output.text(Programs::utcTime(record->start) + "  " +
                padLeft(Programs::grouped(nanoseconds(*record)), widths.duration) + " ns  " +
                padRight(message->source, widths.source) + "  " + message->text + "\n");
  }
}

// All runs of one message.
struct Totals {
  std::uint64_t count = 0;
  std::uint64_t total = 0;
  std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t most = 0;

  void add(std::uint64_t duration) {
    ++count;
    if (__builtin_add_overflow(total, duration, &total)) {
      total = std::numeric_limits<std::uint64_t>::max();
    }
    least = std::min(least, duration);
    most = std::max(most, duration);
  }
};

void printSummary(std::vector<Flashlog::Trace> const& traces, Output& output) {
  std::map<std::pair<std::string, std::string>, Totals> totals;  // by source and text
  for (Flashlog::Trace const& trace : traces) {
    std::vector<Totals*> byMessage;
    for (Flashlog::Message const& message : trace.messages) {
      byMessage.push_back(&totals[{source(message), Programs::printable(message.text)}]);
    }
    for (Flashlog::TraceRecord const& record : trace.records) {
      byMessage[record.message]->add(nanoseconds(record));
    }
  }
  std::erase_if(totals, [](auto const& entry) { return entry.second.count == 0; });
  using Entry = decltype(totals)::value_type;
  std::vector<Entry const*> order;
  order.reserve(totals.size());
  for (Entry const& entry : totals) {
    order.push_back(&entry);
  }
  std::stable_sort(order.begin(), order.end(), [](Entry const* left, Entry const* right) {
    return left->second.total > right->second.total;
  });

  std::vector<std::array<std::string, 7>> rows{
      {"count", "total ns", "min ns", "mean ns", "max ns", "source", "message"}};
  for (Entry const* const entry : order) {
    auto const& [message, sum] = *entry;
    rows.push_back({Programs::grouped(sum.count), Programs::grouped(sum.total),
                    Programs::grouped(sum.least), Programs::grouped(sum.total / sum.count),
                    Programs::grouped(sum.most), message.first, message.second});
  }
  constexpr std::size_t sourceColumn = 5;
  std::array<std::size_t, 7> widths{};
  for (auto const& row : rows) {
    for (std::size_t i = 0; i <= sourceColumn; ++i) {
      widths[i] = std::max(widths[i], std::min(row[i].size(), widestSource));
    }
  }
  for (auto const& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < sourceColumn; ++i) {
      line += padLeft(row[i], widths[i]) + "  ";
    }
    output.text(line + padRight(row[sourceColumn], widths[sourceColumn]) + "  " + row.back() +
                "\n");
  }
}

void printNotes(std::string const& path, Flashlog::Trace const& trace) {
  std::string const begin = "flashlog-dump: " + Programs::printable(path) + ": ";
  if (trace.lost != 0) {
    std::string const note = begin + Programs::grouped(trace.lost) +
                             " older records were lost: newer ones took their place";
    std::fprintf(stderr, "%s\n", note.c_str());
  }
  if (trace.torn != 0) {
    std::string const note = begin + "the last record is torn: the traced process ended in it";
    std::fprintf(stderr, "%s\n", note.c_str());
  }
}

void printError(std::string const& text) {
  std::fprintf(stderr, "flashlog-dump: %s\n", Programs::printable(text).c_str());
}

int dump(std::vector<std::string> const& paths, bool summary) {
  int status = exitOk;
  std::vector<Flashlog::Trace> traces;
  std::vector<std::string> readable;
  for (std::string const& path : paths) {
    try {
      traces.push_back(Flashlog::readTrace(path));
      readable.push_back(path);
    } catch (Flashlog::ReadError const& error) {
      printError(error.what());
      status = exitFileProblem;
    } catch (std::exception const& error) {  // too large for memory
      printError(path + ": " + error.what());
      status = exitFileProblem;
    }
  }
  Output output;
  if (summary) {
    printSummary(traces, output);
  } else {
    printRecords(traces, output);
  }
  status = output.finish(status);
  for (std::size_t i = 0; i < traces.size() && output.usable(); ++i) {
    printNotes(readable[i], traces[i]);
  }
  return status;
}

int printText(std::string const& text) {
  Output output;
  output.text(text);
  return output.finish(exitOk);
}

int run(int argc, char** argv) {
  CLI::App app(
      "Prints the records of trace files in the order of time: when a block was entered, "
      "how long it ran, where it is, and its message.",
      "flashlog-dump");
  app.set_version_flag("--version", "flashlog-dump " FLASHLOG_DUMP_VERSION);
  bool summary = false;
  app.add_flag("--summary", summary,
               "Print count and durations of each message instead, the largest total first");
  std::vector<std::string> paths;
  app.add_option("FILE", paths, "Trace files; the records of several are merged")->required();
  try {
    Programs::CommandLine(app).parse({argv + 1, argv + argc});
  } catch (CLI::CallForHelp const&) {
    return printText(app.help());
  } catch (CLI::CallForVersion const& version) {
    return printText(std::string(version.what()) + "\n");
  } catch (CLI::ParseError const& error) {
    std::ostringstream complaint;
    app.exit(error, complaint, complaint);
    std::fputs(Programs::CommandLine::readable(complaint.str()).c_str(), stderr);
    return exitWrongCommandLine;
  }
  return dump(paths, summary);
}

}  // namespace

int main(int argc, char** argv) {
  // A closed pipe is to show as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return run(argc, argv);
  } catch (std::exception const& error) {
    std::fprintf(stderr, "flashlog-dump: %s\n", error.what());
    return exitFileProblem;
  }
}
