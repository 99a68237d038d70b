#include "platform/linux/LineWriter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

namespace {

TEST(LineWriterTest, LinesThatNobodyReadsAreDroppedAndCounted) {
  int pipe[2], sockets[2];
  ASSERT_EQ(::pipe(pipe), 0);
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets), 0);
  for (const auto &[reading, writing] : {std::pair(pipe[0], pipe[1]), std::pair(sockets[0], sockets[1])}) {
    std::string expected, read;
    const auto take = [&, from = reading] {
      char piece[1000];
      for (ssize_t size = 0; (size = ::read(from, piece, sizeof piece)) > 0;) read.append(piece, size);
    };
    ::fcntl(reading, F_SETFL, O_NONBLOCK);
    Linux::LineWriter writer(writing);
    for (int i = 0; writer.dropped() < 3; ++i) {
      const std::string line = std::string(997, 'x') + std::to_string(i % 10);
      const uint64_t dropped = writer.dropped();
      writer.line(line);
      if (writer.dropped() == dropped) expected += line + "\n";
    }
    take();
    for (const char *line : {"again", "and again"}) writer.line(line);
    take();
    EXPECT_TRUE(read == expected + "3 lines were dropped here: nobody read them\nagain\nand again\n") << read.size();
    EXPECT_FALSE(::fcntl(writing, F_GETFL) & O_NONBLOCK) << "others write there, too";
    ::close(reading);
    ::close(writing);
  }
}

}  // namespace
