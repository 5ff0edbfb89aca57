// The program flashlog-dump, run as a process.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Flashlog/Clock.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"

namespace Flashlog {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

struct Result {
  int status = -1;  // of the exit, or 1000 and the signal
  std::string output;
  std::string error;
};

std::string textOf(std::string const& path) {
  std::vector<std::byte> const bytes = bytesOf(path);
  return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
}

// Runs flashlog-dump; its standard output goes to `outputFd` if that is not negative, and it gets
// no more than so many bytes of memory.
Result dump(std::vector<std::string> arguments, int outputFd = -1, rlim_t memory = RLIM_INFINITY) {
  TemporaryFolder const folder;
  arguments.insert(arguments.begin(), FLASHLOG_DUMP);
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  std::string const output = folder.file("output");
  std::string const error = folder.file("error");
  pid_t const pid = fork();
  if (pid == 0) {
    int const out = outputFd >= 0 ? outputFd : open(output.c_str(), O_WRONLY | O_CREAT, 0600);
    dup2(out, STDOUT_FILENO);
    dup2(open(error.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
    rlimit const limit{memory, memory};
    setrlimit(RLIMIT_AS, &limit);
    execv(pointers[0], pointers.data());
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status), textOf(output),
          textOf(error)};
}

std::vector<std::string> linesOf(std::string const& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t const end = text.find('\n', begin);
    lines.push_back(text.substr(begin, end - begin));
    begin = end == std::string::npos ? text.size() : end + 1;
  }
  return lines;
}

// A trace of a few seconds at a rate of one tick in a nanosecond, the first tick in 2027.
class DumpedTrace {
 public:
  DumpedTrace(std::string const& path, std::size_t capacity)
      : file_(path, {.ringCapacity = capacity, .messageAreaBytes = 65536}) {}

  int message(std::string const& text, std::string const& path = "/src/Stp/Mode",
              unsigned line = 156) {
    return newMessage(file_, text, path, line);
  }

  void record(std::uint64_t start, std::uint64_t duration, int id) {
    file_.write(start, duration, id);
  }

  // Its bytes, with the clock of the test instead of the machine's.
  std::string saved(std::string const& path) {
    std::vector<std::byte> bytes = bytesOf(file_.path());
    std::int64_t const then = 1'800'000'000'000'000'000;
    put(bytes, offsetof(Layout::Header, firstClock), ClockPair{0, then, 0});
    std::array<ClockPair, 2> const latest{{{1000, then + 1000, 1000}, {1000, then + 1000, 1000}}};
    put(bytes, offsetof(Layout::Header, latestClocks), latest);
    bytesAre(path, bytes);
    return path;
  }

 private:
  TraceFile file_;
};

TEST(FlashlogDump, RecordsArePrintedInTheOrderOfTime) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 100);
  int const outer = trace.message("Mode::handle():156");
  int const inner = trace.message("set", "/src/A", 7);
  trace.record(2'000'000'123, 45, inner);
  trace.record(2'000'000'000, 1'234'567, outer);

  Result const result = dump({trace.saved(folder.file("trace"))});

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output,
            "2027-01-15T08:00:02.000000000Z  1,234,567 ns  /src/Stp/Mode:156  Mode::handle():156\n"
            "2027-01-15T08:00:02.000000123Z         45 ns  /src/A:7           set\n");
}

TEST(FlashlogDump, RecordsOfSeveralFilesAreMerged) {
  TemporaryFolder const folder;
  DumpedTrace first(folder.file("open1"), 4);
  DumpedTrace second(folder.file("open2"), 4);
  int const ofFirst = first.message("first");
  int const ofSecond = second.message("second");
  first.record(10, 1, ofFirst);
  second.record(20, 1, ofSecond);
  first.record(30, 1, ofFirst);

  Result const result =
      dump({first.saved(folder.file("trace")), second.saved(folder.file("trace.2"))});

  EXPECT_EQ(result.status, 0);
  std::vector<std::string> const lines = linesOf(result.output);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[0], ContainsRegex("00\\.000000010Z .*first$"));
  EXPECT_THAT(lines[1], ContainsRegex("00\\.000000020Z .*second$"));
  EXPECT_THAT(lines[2], ContainsRegex("00\\.000000030Z .*first$"));
}

TEST(FlashlogDump, SummaryHasTheLargestTotalFirst) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 100);
  int const rare = trace.message("rare");
  int const frequent = trace.message("frequent", "/src/A", 7);
  trace.message("never");
  trace.record(1, 1000, rare);
  trace.record(2, 300, frequent);
  trace.record(3, 500, frequent);
  trace.record(4, 301, frequent);

  Result const result = dump({"--summary", trace.saved(folder.file("trace"))});

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output,
            "count  total ns  min ns  mean ns  max ns  source             message\n"
            "    3     1,101     300      367     500  /src/A:7           frequent\n"
            "    1     1,000   1,000    1,000   1,000  /src/Stp/Mode:156  rare\n");
}

TEST(FlashlogDump, TotalThatIsTooLargeEndsAtTheLimit) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 4);
  int const id = trace.message("long");
  for (std::uint64_t start = 1; start <= 3; ++start) {
    trace.record(start, ~std::uint64_t{0}, id);
  }
  Result const result = dump({"--summary", trace.saved(folder.file("trace"))});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(linesOf(result.output).back(),
              StartsWith("    3  18,446,744,073,709,551,615  9,223,372,036,854,775,807  "
                         "6,148,914,691,236,517,205  9,223,372,036,854,775,807  "));
}

TEST(FlashlogDump, SourcesAreAlignedUnlessTheyAreTooLong) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 4);
  trace.record(1, 5, trace.message("of a short one", "/src/A", 7));
  trace.record(2, 5, trace.message("of the widest", "/" + std::string(57, 'w'), 1));
  trace.record(3, 5, trace.message("of a longer one", "/" + std::string(98, 'l'), 1));
  std::string const path = trace.saved(folder.file("trace"));
  std::vector<std::string> const texts{
      "/src/A:7" + std::string(52, ' ') + "  of a short one",
      "/" + std::string(57, 'w') + ":1  of the widest",
      "/" + std::string(98, 'l') + ":1  of a longer one",
  };
  for (std::vector<std::string> const& arguments :
       std::vector<std::vector<std::string>>{{path}, {"--summary", path}}) {
    Result const result = dump(arguments);
    for (std::string const& text : texts) {
      EXPECT_THAT(result.output, HasSubstr("  " + text + "\n"));
    }
  }
}

TEST(FlashlogDump, EmptyTracePrintsNothing) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 4);
  Result const result = dump({trace.saved(folder.file("trace"))});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output + result.error, "");
}

TEST(FlashlogDump, LostAndTornRecordsAreNoted) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 4);
  int const id = trace.message("text");
  for (std::uint64_t i = 0; i < 2005; ++i) {
    trace.record(i, 1, id);
  }
  std::string const path = trace.saved(folder.file("trace"));
  std::vector<std::byte> bytes = bytesOf(path);
  put(bytes, slotOffset(bytes, 1) + offsetof(Layout::Slot, tag), Layout::lapTag(2005 / 4));
  bytesAre(path, bytes);

  Result const result = dump({path});

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(linesOf(result.output).size(), 3U);
  EXPECT_EQ(result.error, "flashlog-dump: " + path +
                              ": 2,002 older records were lost: newer ones took their place\n"
                              "flashlog-dump: " +
                              path + ": the last record is torn: the traced process ended in it\n");
}

TEST(FlashlogDump, NotesNameTheFileThatTheyAreOf) {
  TemporaryFolder const folder;
  DumpedTrace whole(folder.file("open1"), 4);
  DumpedTrace wrapped(folder.file("open2"), 4);
  int const id = wrapped.message("text");
  for (std::uint64_t start = 0; start < 5; ++start) {
    wrapped.record(start, 1, id);
  }
  std::string const path = wrapped.saved(folder.file("wrapped\x1B"));
  std::string const absent = folder.file("absent");
  Result const result = dump({absent, whole.saved(folder.file("whole")), path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(linesOf(result.output).size(), 4U);
  EXPECT_EQ(linesOf(result.error),
            (std::vector<std::string>{
                "flashlog-dump: " + absent + ": cannot be opened: No such file or directory",
                "flashlog-dump: " + folder.file("wrapped\\x1b") +
                    ": 1 older records were lost: newer ones took their "
                    "place"}));
}

TEST(FlashlogDump, TextsCannotCommandATerminal) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 4);
  trace.record(1, 1, trace.message("\x1b[2J\nforged", "/src/\x9b", 1));
  Result const result = dump({trace.saved(folder.file("trace"))});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(linesOf(result.output).size(), 1U);
  EXPECT_THAT(result.output, HasSubstr("/src/\\x9b:1  \\x1b[2J\\x0aforged\n"));
}

TEST(FlashlogDump, UnreadableFileIsNamedAndTheOthersArePrinted) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 4);
  trace.record(1, 1, trace.message("text"));
  std::string const good = trace.saved(folder.file("trace"));
  std::string const bad = folder.file("no\nfile");

  Result const result = dump({bad, good});

  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(linesOf(result.output).size(), 1U);
  EXPECT_EQ(result.error, "flashlog-dump: " + folder.file("no\\x0afile") +
                              ": cannot be opened: No such file or directory\n");
}

TEST(FlashlogDump, FileThatIsTooLargeForTheMemoryIsNamedAndTheOthersArePrinted) {
#ifdef STP_INSTRUMENTED
  GTEST_SKIP() << "the sanitizer takes more memory than any limit";
#endif
  TemporaryFolder const folder;
  std::string const large = folder.file("large");
  std::uint64_t const records = std::uint64_t{1} << 26U;
  {
    TraceFile const file(large, smallTrace(1));
    std::vector<std::byte> bytes = bytesOf(large);
    put(bytes, offsetof(Layout::Header, ringCapacity), records);
    bytesAre(large, bytes);
  }
  std::filesystem::resize_file(large, *Layout::fileBytes(512, records));  // all holes
  std::string const good = folder.file("good");
  {
    TraceFile file(good, smallTrace(4));
    file.write(timestamp(), 1, newMessage(file, "good"));
  }
  Result const result = dump({large, good}, -1, rlim_t{1} << 29U);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, StartsWith("flashlog-dump: " + large + ": "));
  EXPECT_THAT(result.output, HasSubstr("good\n"));
}

TEST(FlashlogDump, NameInBracketsIsTheNameOfOneFile) {
  struct Case {
    std::string name;
    std::string shown;
  };
  for (Case const& c : {Case{"[a,b]", "[a,b]"}, Case{"\x01[a,b]", "\\x01[a,b]"},
                        Case{"\x01\x01", "\\x01\\x01"}, Case{"[", "["}}) {
    Result const result = dump({c.name});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "flashlog-dump: " + c.shown + ": cannot be opened: No such file or directory\n");
  }
}

TEST(FlashlogDump, WrongCommandLineExitsWithTwo) {
  for (std::vector<std::string> const& arguments :
       std::vector<std::vector<std::string>>{{}, {"--summary"}, {"--unknown", "/dev/null"}}) {
    Result const result = dump(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.error, "");
  }
}

TEST(FlashlogDump, HelpAndVersionAreNoErrors) {
  Result const help = dump({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.error, "");
  for (char const* const option : {"FILE", "--help", "--version", "--summary"}) {
    EXPECT_THAT(help.output, HasSubstr(option));
  }
  Result const version = dump({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.error, "");
  EXPECT_THAT(version.output, ContainsRegex("^flashlog-dump [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
}

TEST(FlashlogDump, ClosedPipeEndsItQuietly) {
  TemporaryFolder const folder;
  DumpedTrace trace(folder.file("open"), 10'000);
  int const id = trace.message("text");
  for (std::uint64_t i = 0; i <= 10'000; ++i) {  // one is lost, which nobody is told
    trace.record(i, 1, id);
  }
  std::string const path = trace.saved(folder.file("trace"));
  for (std::vector<std::string> const& arguments : std::vector<std::vector<std::string>>{
           {path}, {"--summary", path}, {"--help"}, {"--version"}}) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    Result const result = dump(arguments, ends[1]);
    close(ends[1]);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
  }
}

// Little is written at the end, much before that.
TEST(FlashlogDump, FullDiskIsAnError) {
  for (std::uint64_t const records : {1U, 10'000U}) {
    TemporaryFolder const folder;
    DumpedTrace trace(folder.file("open"), 10'000);
    int const id = trace.message("text");
    for (std::uint64_t i = 0; i < records; ++i) {
      trace.record(i, 1, id);
    }
    int const full = open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    Result const result = dump({trace.saved(folder.file("trace"))}, full);
    close(full);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, StartsWith("flashlog-dump: standard output: No space left"));
  }
}

}  // namespace
}  // namespace Flashlog
