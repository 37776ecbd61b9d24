#include "runtime/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "runtime/RuntimeError.h"
#include "support/TempFolder.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;

int NumberOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

class FilesTest : public ::testing::Test {
 protected:
  TempFolder folder;
};

TEST(FilePaths, ArePutTogetherAndTakenApart) {
  EXPECT_EQ(JoinPath("/a", "b"), "/a/b");
  EXPECT_EQ(JoinPath("/a/", "b"), "/a/b");
  EXPECT_EQ(JoinPath("", "b"), "b");
  EXPECT_EQ(JoinPath("/a", ""), "/a");
  EXPECT_EQ(FolderOf("/a/b.shp"), "/a");
  EXPECT_EQ(FolderOf("/b"), "/");
  EXPECT_EQ(FolderOf("b"), "");
  EXPECT_EQ(NameOf("/a/b.shp"), "b.shp");
  EXPECT_EQ(StemOf("/a.x/b.c.shp"), "b.c");
  EXPECT_EQ(StemOf("/a/.hidden"), ".hidden");
  EXPECT_EQ(LowerCase("AbZ\xC3\x84"), "abz\xC3\x84");
  EXPECT_TRUE(EqualNoCase("Shape", "sHAPE"));
  EXPECT_FALSE(EqualNoCase("Shape", "Shapes"));
}

TEST_F(FilesTest, MissingFilesAndFoldersAreToldApart) {
  EXPECT_EQ(NumberOf([&] { InputFile(folder / "none"); }), 53);
  EXPECT_EQ(NumberOf([&] { InputFile(folder / "none/x"); }), 76);
  EXPECT_EQ(NumberOf([&] { files::DeleteFile(folder / "none"); }), 53);
  EXPECT_EQ(NumberOf([&] { TextReader(folder / "none"); }), 53);
  EXPECT_EQ(NumberOf([&] { files::CreateFolder(folder.Path()); }), 70);
  WriteBytes(folder / "f", "");
  EXPECT_EQ(NumberOf([&] { InputFile(folder / "f/x"); }), 76);
  EXPECT_TRUE(files::FileExists(folder / "f"));
  EXPECT_FALSE(files::FileExists(folder.Path()));
  EXPECT_TRUE(files::FolderExists(folder.Path()));
  EXPECT_THAT(files::NamesIn(folder.Path()), ElementsAre("f"));
}

TEST_F(FilesTest, AnOutputFileThatIsNotClosedIsGone) {
  const std::string path = folder / "out";
  { OutputFile(path, OutputFile::Mode::kCreateNew).Write("abc"); }
  EXPECT_FALSE(files::FileExists(path));
  OutputFile out(path, OutputFile::Mode::kCreateNew);
  out.Write("abc");
  out.Close();
  EXPECT_EQ(ReadBytes(path), "abc");
  EXPECT_EQ(NumberOf([&] { OutputFile(path, OutputFile::Mode::kCreateNew); }), 70);
  { OutputFile(path, OutputFile::Mode::kUpdate).Write("lost with its buffer"); }
  EXPECT_EQ(ReadBytes(path), "abc");
}

TEST_F(FilesTest, WritesThroughABufferOfAnySizePatchesAndCuts) {
  const std::string path = folder / "out";
  for (const std::size_t buffer : {1u, 3u, 7u, 100u}) {
    OutputFile out(path, OutputFile::Mode::kReplace, buffer);
    std::string expected;
    for (int i = 0; i < 20; ++i) {
      const std::string piece(static_cast<std::size_t>(i % 5), static_cast<char>('a' + i));
      out.Write(piece);
      expected += piece;
      EXPECT_EQ(out.Position(), expected.size());
    }
    *out.Reserve(1) = '!';
    out.Patch(2, "XY", 2);
    expected.replace(2, 2, "XY") += '!';
    out.Flush();
    EXPECT_EQ(ReadBytes(path), expected);
    out.TruncateTo(5);
    out.Write("end");
    out.Sync();
    out.Close();
    EXPECT_EQ(ReadBytes(path), expected.substr(0, 5) + "end");
  }
  OutputFile tiny(path, OutputFile::Mode::kReplace, 4);
  EXPECT_EQ(NumberOf([&] { tiny.Reserve(5); }), 9);
}

TEST_F(FilesTest, AnInputFileReadsAnywhereAndNoFurther) {
  WriteBytes(folder / "in", "0123456789");
  InputFile in(folder / "in");
  EXPECT_EQ(in.Size(), 10u);
  char bytes[4];
  in.Read(3, bytes, 4);
  EXPECT_EQ(std::string(bytes, 4), "3456");
  EXPECT_EQ(in.ReadUpTo(8, bytes, 4), 2u);
  EXPECT_EQ(in.ReadUpTo(20, bytes, 4), 0u);
  EXPECT_EQ(NumberOf([&] { in.Read(8, bytes, 4); }), 62);
  const std::string stamp = in.Stamp();
  EXPECT_EQ(InputFile(folder / "in").Stamp(), stamp);
  WriteBytes(folder / "in", "01234567890");
  EXPECT_NE(InputFile(folder / "in").Stamp(), stamp);
  InputFile moved(std::move(in));
  EXPECT_EQ(moved.Size(), 11u);
}

TEST_F(FilesTest, ReplacesInOneStep) {
  WriteBytes(folder / "a", "new");
  WriteBytes(folder / "b", "old");
  files::ReplaceFile(folder / "a", folder / "b");
  EXPECT_EQ(ReadBytes(folder / "b"), "new");
  EXPECT_THAT(files::NamesIn(folder.Path()), ElementsAre("b"));
  EXPECT_EQ(NumberOf([&] { files::ReplaceFile(folder / "a", folder / "b"); }), 53);
}

TEST_F(FilesTest, TextLinesEndInEitherWayAndTheLastMayLackItsEnd) {
  WriteBytes(folder / "t", "\xEF\xBB\xBFone\r\ntwo\n\nlast");
  TextReader reader(folder / "t");
  EXPECT_EQ(reader.ReadLine(), "one");
  EXPECT_EQ(reader.ReadLine(), "two");
  EXPECT_EQ(reader.ReadLine(), "");
  EXPECT_FALSE(reader.AtEndOfStream());
  EXPECT_EQ(reader.ReadLine(), "last");
  EXPECT_TRUE(reader.AtEndOfStream());
  EXPECT_EQ(NumberOf([&] { reader.ReadLine(); }), 62);
}

TEST_F(FilesTest, ATextFileKeepsWhatWasWrittenEvenIfItIsNotClosed) {
  {
    TextWriter writer(folder / "t");
    writer.WriteLine("one");
    writer.WriteBlankLines(2);
    writer.Write("end");
  }
  EXPECT_EQ(ReadBytes(folder / "t"), "one\n\n\nend");
}

TEST_F(FilesTest, ATextFileCanBeContinued) {
  WriteBytes(folder / "t", "one\n");
  TextWriter writer(folder / "t", TextWriter::Start::kAtEnd);
  writer.WriteLine("two");
  writer.Close();
  EXPECT_EQ(ReadBytes(folder / "t"), "one\ntwo\n");
  EXPECT_EQ(NumberOf([&] { TextWriter(folder / "none", TextWriter::Start::kAtEnd); }), 53);
}

TEST_F(FilesTest, ALineLongerThanTheBufferIsOneLine) {
  const std::string line(200'000, 'x');
  WriteBytes(folder / "t", line + "\r\n" + line);
  TextReader reader(folder / "t");
  EXPECT_EQ(reader.ReadLine(), line);
  EXPECT_EQ(reader.ReadLine(), line);
}

TEST_F(FilesTest, AFileThatMayNotGrowIsAFullDiskAndAFolderOfOthersIsNotWritable) {
  ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
  WriteBytes(folder / "mine", "x");
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool full = NumberOf([&] {
                        OutputFile out(folder / "big", OutputFile::Mode::kReplace, 100);
                        for (int i = 0; i < 100; ++i) out.Write(std::string(50, 'x'));
                      }) == 61 &&
                      !files::FileExists(folder / "big");
    const bool writable = files::IsWritable(folder / "mine") && files::IsWritable(folder / "new");
    if (::geteuid() == 0 && ::seteuid(65534) != 0) ::_exit(3);
    if (::geteuid() != 65534) ::chmod(folder.Path().c_str(), 0555);
    const bool refused = !files::IsWritable(folder / "mine") && !files::IsWritable(folder / "new");
    ::_exit(full && writable && refused ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ::chmod(folder.Path().c_str(), 0755);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace orlinths
