#include "../common/TestFolder.h"
#include "recording/Recording.h"

#include <gtest/gtest.h>

namespace vemora {
namespace {

constexpr char kHeader[] = "{\"format\":\"vemora-inspect\",\"version\":1}\n";

std::string problemOf(const std::string& text) {
  try {
    Recording::parse(text, "f");
  } catch (const BadRecording& problem) {
    return problem.what();
  }
  return "none";
}

TEST(RecordingFileTest, ReadsRecordsWithTheirLines) {
  const Recording read = Recording::parse(
      std::string(kHeader) + "{\"t\":5,\"kind\":\"page\",\"session\":2,\"event\":\"finished\",\"new\":1}\n" +
          "{\"t\":7,\"kind\":\"gap\",\"count\":3}\n{\"t\":8,\"kind\":\"unheard-of\"}\n",
      "f");
  ASSERT_EQ(read.records.size(), 3u);
  EXPECT_EQ(read.records[0].line, 2u);
  EXPECT_EQ(read.records[0].session, 2u);
  EXPECT_TRUE(read.records[0].is("page", "event", "finished"));
  EXPECT_EQ(read.missing, 3u);
  EXPECT_FALSE(read.isCutOff);
}

TEST(RecordingFileTest, DropsALastLineThatIsCutOff) {
  const Recording read =
      Recording::parse(std::string(kHeader) + "{\"t\":1,\"kind\":\"end\"}\n{\"t\":2,\"ki", "f");
  EXPECT_EQ(read.records.size(), 1u);
  EXPECT_TRUE(read.isCutOff);
}

TEST(RecordingFileTest, SaysWhatIsWrongWithAFile) {
  const std::string header = kHeader;
  EXPECT_EQ(problemOf(""), "f: the file is empty");
  EXPECT_EQ(problemOf("\x7f"
                      "ELF"),
            "f:1: this is no recording: the first line is no JSON object");
  EXPECT_EQ(problemOf("{}\n"),
            "f:1: this is no recording: the first line has no \"format\":\"vemora-inspect\"");
  EXPECT_EQ(problemOf("{\"format\":\"vemora-inspect\"}\n"), "f:1: the header has no version");
  EXPECT_EQ(
      problemOf("{\"format\":\"vemora-inspect\",\"version\":2}\n"),
      "f:1: the recording has version 2, and this program reads version 1: use the program of the SDK that "
      "made it");
  EXPECT_EQ(problemOf(header + "{\"t\":1,\"ki\n{\"t\":2,\"kind\":\"end\"}\n"),
            "f:2: the line is no JSON object");
  EXPECT_EQ(problemOf(header + "{\"kind\":\"end\"}\n"), "f:2: a record needs a time \"t\" and a \"kind\"");
  EXPECT_EQ(problemOf(header + "{\"t\":-1,\"kind\":\"end\"}\n"),
            "f:2: a record needs a time \"t\" and a \"kind\"");
  const test::TestFolder folder;
  EXPECT_THROW(Recording::read(folder.path("none")), BadRecording);
  EXPECT_THROW(Recording::read(folder.path()), BadRecording);
}

}  // namespace
}  // namespace vemora
