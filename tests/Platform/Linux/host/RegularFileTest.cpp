// Reading whole files, whatever lies at their places.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Platform/Linux/host/RegularFile.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::linux_::contentsOfRegularFile;
using testing_support::ScratchFolder;

TEST(RegularFile, isReadWholeAlsoThroughALink) {
  const ScratchFolder folder;
  const std::string text(200'000, 'x');
  folder.link("link", folder.file("file", text));
  EXPECT_EQ(*contentsOfRegularFile(folder.path("file"), 1 << 20), text);
  EXPECT_EQ(*contentsOfRegularFile(folder.path("link"), 200'000), text);
  EXPECT_EQ(*contentsOfRegularFile(folder.file("empty", ""), 0), "");
}

TEST(RegularFile, isNotReadWhenItIsTooLarge) {
  const ScratchFolder folder;
  folder.file("file", "12345");
  EXPECT_EQ(*contentsOfRegularFile(folder.path("file"), 5), "12345");
  EXPECT_EQ(contentsOfRegularFile(folder.path("file"), 4).error(), std::errc::file_too_large);
}

TEST(RegularFile, isNoPipeNoDeviceAndNoFolder) {
  const ScratchFolder folder;
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);  // with nobody at its other end
  folder.link("zero", "/dev/zero");
  EXPECT_EQ(contentsOfRegularFile(folder.path("pipe"), 100).error(), std::errc::invalid_argument);
  EXPECT_EQ(contentsOfRegularFile(folder.path("zero"), 100).error(), std::errc::invalid_argument);
  EXPECT_EQ(contentsOfRegularFile(folder.path(), 100).error(), std::errc::is_a_directory);
  EXPECT_EQ(contentsOfRegularFile(folder.path("missing"), 100).error(), std::errc::no_such_file_or_directory);
}

}  // namespace
