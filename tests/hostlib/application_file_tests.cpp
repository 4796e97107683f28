// Registry keys from qvshr.ini, beside a host program of the test's own; what is there besides lies in a key of the
// test's own below HKEY_CURRENT_USER.
#include "tests/hostlib/host_process.h"
#include "tests/support/registry_sandbox.h"

namespace hosttest {
namespace {

using Lines = std::vector<std::string>;
using qvtest::Hive;
using qvtest::RegistrySandbox;
using qvtest::ToUtf8;

class ApplicationFileTest : public testing::TestWithParam<HostBuild> {
 protected:
  // The file, where "@" stands for the test's own key with its root.
  void Write(std::string content) const {
    for (size_t at = 0; (at = content.find('@', at)) != std::string::npos;) {
      content.replace(at, 1, "HKCU\\" + ToUtf8(path));
    }
    m_process.WriteSettings(content);
  }
  // Walks through a key below the test's own, "" for it itself, and then sub keys from there.
  [[nodiscard]] std::wstring Walk(const std::wstring& below, const std::wstring& subKeys = L"") const {
    return L"walk:HKCU|" + path + (below.empty() ? L"" : L"\\" + below) + subKeys;
  }
  void SetRegistry(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
    registry.SetText(Hive::User, key, name, text);
  }

  HostProcess m_process{GetParam()};
  RegistrySandbox registry{RegistrySandbox::Override::Nothing};
  const std::wstring path = registry.Path(Hive::User);
};
ON_BOTH_HOST_BUILDS(ApplicationFileTest);

TEST_P(ApplicationFileTest, AKeyStandsForTheRegistrysWholeAndInTheFilesOrder) {
  SetRegistry(L"Own", L"only here", L"x");
  SetRegistry(L"Own", L"a", L"registry");
  SetRegistry(L"Other", L"b", L"registry");
  Write("[@\\Own]\r\nz=1\r\na=2\r\n");
  EXPECT_EQ(m_process.Run({Walk(L"Own"), Walk(L"OWN"), Walk(L"Other"), Walk(L"", L"|Own"), Walk(L"", L"|own\\"),
                           Walk(L"", L"|Other"), Walk(L"Own", L"|"), L"bad"}),
            (Lines{"z=1;a=2", "z=1;a=2", "b=registry", "z=1;a=2", "z=1;a=2", "b=registry", "z=1;a=2", ""}));
}

TEST_P(ApplicationFileTest, KeysAboveExistAndHaveTheRegistrysValuesAndSubKeys) {
  SetRegistry(L"Above", L"v", L"registry");
  SetRegistry(L"Above\\Sibling", L"s", L"registry");
  SetRegistry(L"Above\\Named\\Below", L"b", L"registry");
  Write("[@\\Above\\Named]\nn=file\n[@\\New\\Deep\\Key]\nd=file\n");
  EXPECT_EQ(
      m_process.Run({Walk(L"Above"), Walk(L"Above", L"|Sibling"), Walk(L"Above", L"|Named"),
                     Walk(L"Above", L"|Named|Below"), Walk(L"New"), Walk(L"New\\Deep"), Walk(L"New", L"|Deep|Key"),
                     Walk(L"New\\Deep\\Key"), Walk(L"New", L"|Other"), Walk(L"New\\Deep\\Key\\Deeper")}),
      (Lines{"v=registry", "s=registry", "n=file", "b=registry", "", "", "d=file", "d=file", "<no key>", "<no key>"}));
}

TEST_P(ApplicationFileTest, SaysWhichKeysItBrings) {
  SetRegistry(L"Registry's", L"v", L"registry");
  Write("[@\\Own]\n[@\\Above\\Named]\nn=file\n");
  EXPECT_EQ(
      m_process.Run({L"brought:HKCU\\" + path + L"\\OWN", L"brought:HKEY_CURRENT_USER\\" + path + L"\\Above\\Named\\",
                     L"brought:HKCU\\" + path + L"\\Above", L"brought:HKLM\\" + path + L"\\Own",
                     L"brought:HKCU\\" + path + L"\\Registry's", L"brought:Own", L"brought:",
                     L"set:HKCU\\" + path + L"\\Set|a|1", L"brought:HKCU\\" + path + L"\\Set"}),
      (Lines{"yes", "yes", "no", "no", "no", "no", "no", "set", "yes"}));
}

TEST_P(ApplicationFileTest, AKeyWithoutValuesIsThereAndEmpty) {
  SetRegistry(L"Own", L"a", L"registry");
  Write("[@\\Own]");
  EXPECT_EQ(m_process.RunOne(Walk(L"Own")), "");
}

TEST_P(ApplicationFileTest, TheMachinesRootIsAnother) {
  Write("[HKLM\\QvTests\\NoSuchKey]\nm=1\n[HKEY_CURRENT_USER\\QvTests\\NoSuchKey]\nu=2\n");
  EXPECT_EQ(m_process.Run({L"walk:HKLM|QvTests\\NoSuchKey", L"walk:HKCU|qvtests\\nosuchkey",
                           L"walk:HKLM||QvTests|NoSuchKey", L"walk:HKCU|QvTests", L"walk:HKLM|QvTests\\Else"}),
            (Lines{"m=1", "u=2", "m=1", "", "<no key>"}));
}

TEST_P(ApplicationFileTest, ASectionMayComeTwiceAndTheFirstOfTwoValuesCounts) {
  Write("[@\\A]\nx=1\n[@\\B]\ny=2\n[@\\a]\nX=3\nz=4\n");
  EXPECT_EQ(m_process.Run({Walk(L"A"), Walk(L"B"), L"bad"}), (Lines{"x=1;z=4", "y=2", "6 "}));
}

TEST_P(ApplicationFileTest, BadLinesAreSkippedAndKnownByTheirNumber) {
  Write("; comment\n[@\\A]\nnonsense\nx=1\n=2\n\n[HKU\\B]\ny=2\n[@\\C\n");
  EXPECT_EQ(m_process.Run({L"bad", Walk(L"A"), Walk(L"C")}), (Lines{"3 5 7 9 ", "x=1", "<no key>"}));
}

TEST_P(ApplicationFileTest, EveryEncodingIsRead) {
  const std::wstring text = L"[HKCU\\" + path + L"\\Gr\u00FC\u00DFe]\r\n\u4E2D=\u00E4\U0001F600\r\n";
  std::string little = "\xFF\xFE";
  std::string big = "\xFE\xFF";
  for (const wchar_t unit : text) {
    little += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    big += {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
  }
  const std::string narrow = ToUtf8(text);
  for (const std::string& content : {narrow, "\xEF\xBB\xBF" + narrow, little, big, little + "x"}) {
    m_process.WriteSettings(content);
    EXPECT_EQ(m_process.Run({Walk(L"Gr\u00FC\u00DFe"), Walk(L"GR\u00DC\u00DFE"), L"bad"}),
              (Lines{"\xE4\xB8\xAD=\xC3\xA4\xF0\x9F\x98\x80", "\xE4\xB8\xAD=\xC3\xA4\xF0\x9F\x98\x80", ""}));
  }
}

TEST_P(ApplicationFileTest, WhatIsNoTextIsABadLine) {
  Write(
      "[@\\A]\nname=Gr\xFC\xDF"
      "e\nx=1\n");
  EXPECT_EQ(m_process.Run({Walk(L"A"), L"bad"}), (Lines{"x=1", "2 "}));
}

TEST_P(ApplicationFileTest, HostileFilesAreReadOrLeft) {
  SetRegistry(L"A", L"a", L"registry");
  std::string bytes(100000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7919 % 251);
  std::string many;
  for (int i = 0; i < 10001; ++i) many += std::to_string(i) + "=x\n";
  std::string manyKeys;
  for (int i = 0; i < 1500; ++i) manyKeys += "[HKCU\\K" + std::to_string(i) + "]\nv=1\n";
  const struct {
    const char* name;
    std::string content;
    std::string walked;
    std::string bad;  // the first
  } rows[] = {{"nothing", "", "a=registry", ""},
              {"a mark alone", "\xEF\xBB\xBF", "a=registry", ""},
              {"half a mark", "\xEF\xBB", "a=registry", ""},
              {"a wide mark alone", "\xFF\xFE", "a=registry", ""},
              {"a wide mark and a byte", "\xFF\xFE[", "a=registry", ""},
              {"too large", "[@\\A]\nx=1\n" + std::string(1 << 20, ';'), "a=registry", "1"},
              {"one long line", "[@\\A]\nx=1\ny" + std::string(900000, '='), "x=1;y=" + std::string(899999, '='), ""},
              {"one long head", "[@\\A]\nx=1\n[HKCU\\" + std::string(900000, 'k') + "]\ny=2", "x=1", ""},
              {"too many values", "[@\\B]\n" + many + "[@\\A]\nx=1\n", "", "10002"},
              {"too many keys", "[@\\A]\nx=1\n" + manyKeys, "x=1", "2001"},
              {"no line end", "[@\\A]\nx=1", "x=1", ""},
              {"bytes", bytes, "a=registry", "*"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Write(row.content);
    const Lines answers = m_process.Run({Walk(L"A"), L"bad"});
    EXPECT_EQ(m_process.exitCode, 0u);
    ASSERT_EQ(answers.size(), 2u);
    EXPECT_TRUE(answers[0] == row.walked) << answers[0].substr(0, 200);
    if (row.bad != "*") {
      EXPECT_EQ(answers[1].substr(0, answers[1].find(' ')), row.bad);
    }
  }
}

TEST_P(ApplicationFileTest, TheFileIsReadOnce) {
  Write("[@\\A]\nx=1\n");
  const std::wstring section = L"HKCU\\" + path + L"\\A";
  EXPECT_EQ(m_process.Run({Walk(L"A"), L"write:" + section + L"|x|2", Walk(L"A")}), (Lines{"x=1", "written", "x=1"}));
  EXPECT_EQ(m_process.Run({Walk(L"A"), L"setting:" + section + L"|x|none|20"}), (Lines{"x=2", "1:2"}));
}

TEST_P(ApplicationFileTest, TheSettingsOfTheHostStayWhatTheyAre) {
  Write("[Host]\r\nWebDeployment=1\r\n[@\\A]\r\nx=1\r\n[QV]\r\nQVJRENOTUSECURRENT=1\r\n");
  EXPECT_EQ(m_process.Run({L"web", L"setting:QV|QVJRENOTUSECURRENT|0|2", Walk(L"A"), L"bad"}),
            (Lines{"1", "1:1", "x=1", ""}));
}

TEST_P(ApplicationFileTest, TheProcessStandsBeforeTheFileAndTheFileBeforeTheRegistry) {
  SetRegistry(L"A", L"a", L"registry");
  Write("[@\\A]\nx=file\ny=file\n");
  const std::wstring key = L"set:HKCU\\" + path + L"\\A|";
  EXPECT_EQ(m_process.Run({Walk(L"A"), key + L"p|process", Walk(L"A"), key + L"p|<null>", Walk(L"A"),
                           key + L"<null>|<null>", Walk(L"A")}),
            (Lines{"x=file;y=file", "set", "p=process", "set", "", "set", "x=file;y=file"}));
}

}  // namespace
}  // namespace hosttest
