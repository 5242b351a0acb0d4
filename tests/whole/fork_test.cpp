#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "recording/open_recording.h"
#include "support/test_store.h"

namespace {

using namespace ctfmeg;

TEST(Fork, ReadsAndClosesWithoutTheThreadsOfItsParent) {
  const auto store = std::make_shared<TestStore>(3, 30'000, std::vector{5});
  auto source = openRecording(store, "run", {.threads = 4}).samples();
  std::vector<std::int32_t> expected(5 * 3 * 30'000), out(expected.size());
  const Window all{0, 5, 0, 3, 0, 30'000};  // which several threads share
  source->read(all, expected);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(60);
    source->read(all, out);
    source.reset();
    _exit(out == expected ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
