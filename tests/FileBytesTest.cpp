// Tests of FileBytes: whatever the order of reads, looks ahead and seeks, the bytes are those that
// stand in the file. Files are longer than one block, so that every way crosses its edges.
#include "FileBytes.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

#include "TempFolder.h"

namespace {

constexpr size_t kBlock = size_t{64} * 1024;

// Bytes that differ from those one block away.
Bytes pattern(size_t count) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(i * 31 + i / 251);
  return bytes;
}

Bytes part(const Bytes& bytes, size_t from, size_t count) {
  const size_t begin = std::min(from, bytes.size());
  const size_t end = begin + std::min(count, bytes.size() - begin);
  return {bytes.begin() + static_cast<std::ptrdiff_t>(begin),
          bytes.begin() + static_cast<std::ptrdiff_t>(end)};
}

// Reads into a block of exactly `count` bytes.
Bytes take(FileBytes& file, size_t count) {
  Bytes bytes(count);
  const size_t got = file.read(bytes.data(), count);
  EXPECT_LE(got, count);
  bytes.resize(std::min(got, count));
  return bytes;
}

class FileBytesTest : public testing::Test {
 protected:
  FileBytes& open(const Bytes& content) {
    EXPECT_TRUE(file_->open(folder.write("file", content).c_str()));
    return *file_;
  }
  TempFolder folder;

 private:
  std::unique_ptr<FileBytes> file_ = std::make_unique<FileBytes>();
};

TEST_F(FileBytesTest, AMissingFileIsNotOpenedAndErrnoSaysWhy) {
  FileBytes file;
  errno = 0;
  EXPECT_FALSE(file.open(folder.path("missing").c_str()));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(file.isOpen());
}

TEST_F(FileBytesTest, OpeningAndClosing) {
  FileBytes file;
  EXPECT_FALSE(file.isOpen());
  EXPECT_TRUE(file.open(folder.write("file", "abc").c_str()));
  EXPECT_TRUE(file.isOpen());
  file.close();
  EXPECT_FALSE(file.isOpen());
}

TEST_F(FileBytesTest, AnotherFileIsReadFromItsStart) {
  FileBytes file;
  ASSERT_TRUE(file.open(folder.write("one", "abcdef").c_str()));
  EXPECT_EQ(take(file, 2), bytesOf("ab"));
  file.close();
  ASSERT_TRUE(file.open(folder.write("two", "uvwxyz").c_str()));
  EXPECT_EQ(take(file, 3), bytesOf("uvw"));
  file.seek(1);
  EXPECT_EQ(take(file, 9), bytesOf("vwxyz"));
}

TEST_F(FileBytesTest, FewerBytesAreReadOnlyAtTheEnd) {
  FileBytes& file = open(bytesOf("abcdef"));
  EXPECT_EQ(take(file, 0), Bytes{});
  EXPECT_EQ(take(file, 4), bytesOf("abcd"));
  EXPECT_EQ(take(file, 4), bytesOf("ef"));
  EXPECT_EQ(take(file, 4), Bytes{});
}

TEST_F(FileBytesTest, AnEmptyFileHasNoBytes) {
  FileBytes& file = open({});
  EXPECT_EQ(file.size(), 0U);
  EXPECT_EQ(file.peek().count, 0U);
  EXPECT_EQ(take(file, 1), Bytes{});
}

TEST_F(FileBytesTest, ReadsOfEverySizeCrossTheBlocks) {
  const Bytes content = pattern(3 * kBlock + 17);
  for (const size_t step : {size_t{1000}, size_t{4097}, kBlock - 1, kBlock, kBlock + 1, 2 * kBlock,
                            2 * kBlock + 5, 4 * kBlock}) {
    SCOPED_TRACE(step);
    FileBytes& file = open(content);
    for (size_t at = 0; at < content.size(); at += step)
      ASSERT_EQ(take(file, step), part(content, at, step));
    EXPECT_EQ(take(file, step), Bytes{});
    file.close();
  }
}

TEST_F(FileBytesTest, LargeReadsBehindSmallOnesGoOnWhereThoseStopped) {
  const Bytes content = pattern(4 * kBlock);
  FileBytes& file = open(content);
  EXPECT_EQ(take(file, 3), part(content, 0, 3));
  EXPECT_EQ(take(file, 2 * kBlock), part(content, 3, 2 * kBlock));
  EXPECT_EQ(take(file, 5), part(content, 3 + 2 * kBlock, 5));
  EXPECT_EQ(take(file, 4 * kBlock), part(content, 8 + 2 * kBlock, 4 * kBlock));
}

TEST_F(FileBytesTest, LookingAheadTakesNothing) {
  FileBytes& file = open(bytesOf("abcdef"));
  FileBytes::View view = file.peek();
  ASSERT_EQ(view.count, 6U);
  EXPECT_EQ(view.bytes[0], 'a');
  EXPECT_EQ(file.peek().count, 6U);
  file.skip(2);
  view = file.peek();
  ASSERT_EQ(view.count, 4U);
  EXPECT_EQ(view.bytes[0], 'c');
  EXPECT_EQ(take(file, 1), bytesOf("c"));
  file.skip(file.peek().count);
  EXPECT_EQ(file.peek().count, 0U);
  EXPECT_EQ(take(file, 1), Bytes{});
}

TEST_F(FileBytesTest, LookingAheadGoesThroughTheWholeFile) {
  const Bytes content = pattern(2 * kBlock + 100);
  FileBytes& file = open(content);
  Bytes seen;
  for (FileBytes::View view = file.peek(); view.count > 0; view = file.peek()) {
    seen.insert(seen.end(), view.bytes, view.bytes + view.count);
    file.skip(view.count);
  }
  EXPECT_EQ(seen, content);
}

TEST_F(FileBytesTest, SeekingGoesToAnAbsolutePosition) {
  const Bytes content = pattern(3 * kBlock);
  FileBytes& file = open(content);
  for (const size_t at : {size_t{10}, size_t{0}, kBlock, kBlock - 1, size_t{5}, 3 * kBlock - 1,
                          2 * kBlock + 3, 2 * kBlock + 1, size_t{0}}) {
    SCOPED_TRACE(at);
    file.seek(at);
    EXPECT_EQ(take(file, 4), part(content, at, 4));
  }
}

TEST_F(FileBytesTest, BehindTheEndThereIsNothingToRead) {
  FileBytes& file = open(bytesOf("abcdef"));
  for (const uint64_t at : {uint64_t{6}, uint64_t{7}, uint64_t{1000000}, uint64_t{0xFFFFFFFF},
                            uint64_t{0x7FFFFFFFFFFFFFFF}, UINT64_MAX}) {
    SCOPED_TRACE(at);
    file.seek(0);
    EXPECT_EQ(take(file, 2), bytesOf("ab"));
    file.seek(at);
    EXPECT_EQ(take(file, 3), Bytes{});
    EXPECT_EQ(file.peek().count, 0U);
  }
  file.seek(3);
  EXPECT_EQ(take(file, 9), bytesOf("def"));
}

TEST_F(FileBytesTest, AskingForTheSizeDoesNotMove) {
  const Bytes content = pattern(2 * kBlock);
  FileBytes& file = open(content);
  EXPECT_EQ(file.size(), content.size());
  EXPECT_EQ(take(file, 3), part(content, 0, 3));
  EXPECT_EQ(file.size(), content.size());
  EXPECT_EQ(take(file, 3), part(content, 3, 3));
  file.seek(kBlock + 1);
  EXPECT_EQ(file.size(), content.size());
  EXPECT_EQ(take(file, 2 * kBlock), part(content, kBlock + 1, kBlock));
}

TEST_F(FileBytesTest, AFolderReadsAsAnEmptyFile) {
  FileBytes file;
  ASSERT_TRUE(file.open(folder.path().c_str()));
  EXPECT_EQ(file.size(), 0U);
  EXPECT_EQ(take(file, 1), Bytes{});
  EXPECT_EQ(file.peek().count, 0U);
  file.seek(10);
  EXPECT_EQ(take(file, 1), Bytes{});
}

// One step of a random walk through a file.
void step(FileBytes& file, const Bytes& content, size_t& at) {
  const size_t amount = *rc::gen::inRange<size_t>(0, *rc::gen::element<size_t>(5, 300, 3 * kBlock));
  switch (*rc::gen::inRange(0, 4)) {
    case 0: {
      const Bytes got = take(file, amount);
      RC_ASSERT(got == part(content, at, amount));
      at += got.size();
      break;
    }
    case 1: {
      const FileBytes::View view = file.peek();
      RC_ASSERT((view.count > 0) == (at < content.size()));
      RC_ASSERT(Bytes(view.bytes, view.bytes + view.count) == part(content, at, view.count));
      const size_t used = std::min(amount, view.count);
      file.skip(used);
      at += used;
      break;
    }
    case 2:
      at = amount;
      file.seek(at);
      break;
    default:
      RC_ASSERT(file.size() == content.size());
      break;
  }
}

RC_GTEST_PROP(FileBytesProperty, EveryWayThroughAFileShowsItsBytes, ()) {
  const TempFolder folder;
  const Bytes content = pattern(*rc::gen::element<size_t>(0, 1, kBlock, 2 * kBlock + 777));
  FileBytes file;
  RC_ASSERT(file.open(folder.write("file", content).c_str()));
  size_t at = 0;
  for (int left = *rc::gen::inRange(0, 40); left > 0; --left) step(file, content, at);
}

}  // namespace
