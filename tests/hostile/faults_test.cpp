#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include <megreader/framework/native_path.h>
#include <megreader/reader/meg_reader_face.h>
#include "hostile/dataset.h"
#include "support/allocations.h"
#include "support/failing_calls.h"

// What a system can do to a load: calls that fail, memory that runs out, files that change or are no files.

namespace {

std::filesystem::path fileOf(int descriptor) {
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
}

TEST(Faults, EveryCallOnAFileThatFailsIsTold) {
  const VictimDataset dataset;
  for (const auto& [name, rules] : kBothRules) {
    Load whole;
    int calls = 0;
    {
      const FailingCalls counted([](int, int, std::int64_t) { return 0; });
      whole = load(dataset, rules);
      calls = counted.count();
    }
    ASSERT_GT(calls, 50) << "the calls are not seen";
    for (const int error : {EIO, EACCES, EMFILE}) {
      int complete = 0;
      for (int n = 1; n <= calls; ++n) {
        const FailingCalls failing([&](int number, int, std::int64_t) { return number == n ? error : 0; });
        const Load result = load(dataset, rules);
        EXPECT_GE(failing.count(), n);
        EXPECT_FALSE(result.lostInSilence(whole)) << error << " at call " << n << ", " << name;
        complete += result.outcome == Outcome::complete;
      }
      EXPECT_GT(complete, 0) << "a recording can be used without its side files";
      EXPECT_LT(complete, calls);
    }
  }
}

TEST(Faults, MemoryThatRunsOutEndsALoadInOrder) {
  const VictimDataset dataset;
  const std::filesystem::path file = dataset.file("run.res4");
  for (const auto& [name, rules] : kBothRules)
    for (const auto failingFrom : {&FailingNew::nth, &FailingNew::from}) {  // one, or all after it
      const Load whole = load(file, rules);
      int failed = 0;
      for (std::int64_t n = 1;; ++n) {
        bool lost = false;
        const std::size_t before = bytesAllocated();
        {
          const FailingNew failing = failingFrom(n);
          const Load result = load(file, rules);
          if (!failing.happened()) break;
          failed += result.outcome == Outcome::failed || result.outcome == Outcome::memoryError;
          lost = result.lostInSilence(whole);
        }
        const std::size_t left = bytesAllocated() - before;
        EXPECT_EQ(left, 0U) << "after allocation " << n << ", " << name;
        EXPECT_FALSE(lost) << "at allocation " << n << ", " << name;
      }
      EXPECT_GT(failed, 100);
      EXPECT_EQ(load(file, rules).data, whole.data) << "and once there is memory all is well";
    }
}

TEST(Faults, MemoryThatRunsOutWhileThreadsShareARead) {
  const TemporaryDirectory directory;
  const auto file = largeTrials().write(directory.path());
  int completed = 0;
  for (std::int64_t n = 1;; ++n) {
    const FailingNew failing = FailingNew::nth(n);
    completed += load(file, ReadingRules::host()).outcome == Outcome::complete;
    if (!failing.happened()) break;
  }
  EXPECT_GT(completed, 1) << "a thread less is no failure";
}

TEST(Faults, AFileThatShrinksUnderTheReader) {
  const VictimDataset dataset;
  for (const auto& [name, rules] : kBothRules) {
    const Load whole = load(dataset, rules);
    for (const double kept : {0.0, 0.5}) {
      std::array<int, 4> outcomes{};
      for (int n = 1, calls = n; n <= calls; ++n) {
        std::filesystem::path shrunk;
        const FailingCalls shrinking([&](int number, int descriptor, std::int64_t) {
          if (number == n && descriptor >= 0) {
            shrunk = fileOf(descriptor);
            const auto size = static_cast<double>(std::filesystem::file_size(shrunk));
            std::filesystem::resize_file(shrunk, static_cast<std::uintmax_t>(size * kept));
          }
          return 0;
        });
        const Load result = load(dataset, rules);
        ++outcomes.at(static_cast<std::size_t>(result.outcome));
        calls = std::max(calls, shrinking.count());
        // A text file that ends early is a short text file; of samples it is known how many there were.
        if (shrunk.extension().string().ends_with("meg4")) {
          EXPECT_FALSE(result.lostInSilence(whole)) << "call " << n << ", " << name;
        }
        if (!shrunk.empty()) dataset.restore(shrunk.filename().string());
      }
      EXPECT_GT(outcomes[0] + outcomes[2], 0);
      EXPECT_GT(outcomes[1], 0);
      EXPECT_EQ(outcomes[3], 0);
    }
  }
}

TEST(Faults, OfReadsThatThreadsShare) {
  const TemporaryDirectory directory;
  const MinimalDataset dataset = largeTrials();
  const auto file = dataset.write(directory.path());
  const auto samples = file.parent_path() / "run.meg4";
  enum class Fault { once, fromThenOn, shrinks };
  for (const auto& [name, rules] : kBothRules) {
    const Load whole = load(file, rules);
    for (const Fault fault : {Fault::once, Fault::fromThenOn, Fault::shrinks}) {
      int healed = 0, calls = 1;
      for (int n = 1; n <= calls; ++n) {
        const FailingCalls failing([&](int number, int descriptor, std::int64_t) {
          if (number < n || (number > n && fault != Fault::fromThenOn) || descriptor < 0) return 0;
          if (fault != Fault::shrinks) return EIO;
          std::filesystem::resize_file(samples, dataset.sampleFiles[0].size() / 3);
          return 0;
        });
        const Load result = load(file, rules);
        calls = std::max(calls, failing.count());
        EXPECT_FALSE(result.lostInSilence(whole)) << n << " " << static_cast<int>(fault) << ", " << name;
        healed += result.outcome == Outcome::complete && result.data == whole.data;
        writeFile(samples, dataset.sampleFiles[0]);
      }
      // A read that fails once is tried again trial by trial; one that goes on failing loses no trial before
      // it.
      EXPECT_TRUE(fault == Fault::once ? healed > 0 : healed < calls / 2) << healed << " " << name;
    }
  }
}

void makeSocket(const std::filesystem::path& path) {
  const int made = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.string().copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(made);
}

TEST(Faults, OnlyRegularFilesAreOpened) {
  const std::pair<const char*, std::function<void(const std::filesystem::path&)>> kinds[] = {
      {"directory", [](const auto& path) { std::filesystem::create_directory(path); }},
      {"FIFO", [](const auto& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
      {"dangling link", [](const auto& path) { std::filesystem::create_symlink("nowhere", path); }},
      {"link to itself", [](const auto& path) { std::filesystem::create_symlink(path, path); }},
      {"socket", makeSocket},
      {"device without end", [](const auto& path) { std::filesystem::create_symlink("/dev/zero", path); }},
  };
  const VictimDataset dataset;
  for (const auto& [kind, make] : kinds) {
    for (const auto& [file, content] : dataset.contents()) {
      std::filesystem::remove(dataset.file(file));
      make(dataset.file(file));
      const bool spare = file == "MarkerFile.mrk.bak";  // read when there is no MarkerFile.mrk
      const bool needed = file == "run.res4" || file.ends_with("meg4");
      for (const auto& [name, rules] : kBothRules) {
        const Load result = load(dataset, rules);
        EXPECT_EQ(result.outcome == Outcome::complete, !needed) << kind << " " << file << ", " << name;
        EXPECT_EQ(result.told > 0, !spare) << kind << " " << file << ", " << name;
      }
      std::filesystem::remove(dataset.file(file));
      dataset.restore(file);
    }
  }
}

TEST(Faults, InformationBeforeABadPlaceOfTheDiskIsKept) {
  const VictimDataset dataset;
  CString path = toWindowsPath(dataset.file("run.res4").string());
  // As bytes become readable one by one, so do the entries that end there.
  std::size_t entries = 0;
  for (std::int64_t bad = 1; bad <= std::ssize(dataset.contents().at("run.infods")) + 1; ++bad) {
    const FailingCalls failing([&](int, int descriptor, std::int64_t end) {
      return end > bad - 1 && fileOf(descriptor).extension() == ".infods" ? EIO : 0;
    });
    CMEGDatazk data;
    CMEGReaderFace facade;
    facade.setReadingRules(ReadingRules::plain());  // which keep entries of nested blocks, too
    EXPECT_EQ(facade.readCTFMEGDataInfo(path, &data), 1) << bad;
    const std::size_t kept = data.getMEGRecordInfozk()->information.entries.size();
    EXPECT_GE(kept, entries) << bad;
    EXPECT_LE(kept, entries + 2) << bad;
    entries = kept;
  }
  EXPECT_GT(entries, 20U);
}

}  // namespace
