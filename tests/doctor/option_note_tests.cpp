// What the doctor says of an option for a Java version.
#include <gtest/gtest.h>

#include "doctor/option_notes.h"
#include "tests/support/text.h"

namespace qvtest {
namespace {

struct Row {
  const wchar_t* option;
  std::optional<int> major;
  enum { Nothing, Note, Refused } expected;
};

TEST(OptionNotes, FollowTheVersion) {
  const Row rows[] = {
      {L"-Xmx128m", 17, Row::Nothing},
      {L"-Dany.property=1", 25, Row::Nothing},
      {L"vfprintf", 17, Row::Nothing},
      {L"--add-opens=java.base/java.lang=ALL-UNNAMED", 17, Row::Nothing},
      {L"-verbose:jni", 17, Row::Note},
      {L"-Djava.compiler=NONE", 17, Row::Note},
      {L"-Djava.compiler=NONE", 25, Row::Note},
      {L"-XX:MaxPermSize=64m", 11, Row::Note},
      {L"-XX:MaxPermSize=64m", 17, Row::Refused},
      {L"-XX:MaxPermSize=64m", std::nullopt, Row::Nothing},
      {L"-XX:+UseConcMarkSweepGC", 11, Row::Note},
      {L"-XX:+UseConcMarkSweepGC", 21, Row::Refused},
      {L"-Xbootclasspath/a:C:\\a.jar", 25, Row::Nothing},
      {L"-Xbootclasspath/p:C:\\a.jar", 11, Row::Refused},
      {L"-Djava.security.manager", 11, Row::Nothing},
      {L"-Djava.security.manager", 17, Row::Note},
      {L"-Djava.security.manager", 25, Row::Refused},
      {L"", 17, Row::Refused},
      {L" -Xmx1m", 17, Row::Refused},
      {L"server", 17, Row::Refused},
      {L"-Xnosuch", 17, Row::Refused},
      {L"-Xss2m", 17, Row::Nothing},
  };
  for (const Row& row : rows) {
    const auto note = doctor::NoteFor(row.option, row.major);
    EXPECT_EQ(note.has_value(), row.expected != Row::Nothing) << ToUtf8(row.option);
    if (note) {
      EXPECT_EQ(note->fatal, row.expected == Row::Refused) << ToUtf8(row.option);
    }
  }
}

}  // namespace
}  // namespace qvtest
