// What the doctor says of an option for a Java version, and of a JVM's last words.
#include <gmock/gmock.h>

#include "doctor/option_notes.h"
#include "doctor/start_messages.h"
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
      {L"-Xmx134217728", 17, Row::Nothing},
      {L"-Xmx", 17, Row::Refused},
      {L"-XX:", 17, Row::Refused},
      {L"-Xmx128mb", 17, Row::Refused},
      {L"-Xms-1m", 17, Row::Refused},
  };
  for (const Row& row : rows) {
    const auto note = doctor::NoteFor(row.option, row.major);
    EXPECT_EQ(note.has_value(), row.expected != Row::Nothing) << ToUtf8(row.option);
    if (note) {
      EXPECT_EQ(note->fatal, row.expected == Row::Refused) << ToUtf8(row.option);
    }
  }
}

TEST(OptionNotes, TakeAVariableApart) {
  EXPECT_THAT(doctor::WordsOf(L" -Da=1\t-Db='x y'  \"-Dc=it's\" ''"),
              testing::ElementsAre(L"-Da=1", L"-Db=x y", L"-Dc=it's", L""));
  EXPECT_THAT(doctor::WordsOf(L" "), testing::IsEmpty());
}

struct Said {
  std::vector<std::wstring> output;
  std::vector<std::wstring> log;
  const wchar_t* cause;  // the first; empty: none
};

TEST(StartMessages, SayInOurWordsWhatTheJvmSays) {
  const Said rows[] = {
      {{L"Unrecognized VM option 'MaxPermSize=64m'"}, {}, L"Java does not know the option MaxPermSize=64m"},
      {{L"Unrecognized option: -Xnosuch"}, {}, L"Java does not know the option -Xnosuch"},
      {{L"Error occurred during initialization of VM", L"Could not reserve enough space for 1073741824KB object heap"},
       {},
       L"there is not enough memory for 1073741824KB object heap"},
      {{L"Error occurred during initialization of boot layer", L"java.lang.module.FindException: Module a.b not found"},
       {},
       L"the Java runtime has no module a.b"},
      {{L"Error occurred during initialization of boot layer", L"java.lang.module.ResolutionException: cycle"},
       {},
       L"Java refuses its modules or its class path: java.lang.module.ResolutionException: cycle"},
      {{},
       {L"java.lang.UnsupportedClassVersionError: A has been compiled by a more recent version of the Java Runtime "
        L"(class "
        L"file version 65.0), this version"},
       L"classes are for a newer Java: their version is 65, which is 44 and the version of Java"},
      {{L"trial: bin\\net.dll does not work"}, {}, L"Java starts, but: bin\\net.dll does not work"},
      {{L"QV_CreateJavaVM: 0x80004005"}, {L"any line"}, L""},
  };
  for (const Said& row : rows) {
    const auto messages =
        doctor::Recognise({.outcome = {}, .started = false, .output = row.output, .logTail = row.log});
    EXPECT_EQ(messages.empty(), *row.cause == L'\0') << ToUtf8(row.cause);
    if (!messages.empty()) {
      EXPECT_EQ(messages[0].cause, row.cause) << ToUtf8(messages[0].cause);
    }
  }
}

}  // namespace
}  // namespace qvtest
