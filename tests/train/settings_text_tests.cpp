// The text of a qvshr.ini with another list: what changes, and that nothing else does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "train/settings_text.h"

namespace train {
namespace {

using testing::ElementsAre;
using namespace std::string_literals;

constexpr std::wstring_view kKey = L"Software\\Some\\QVJVMconfig";
const std::vector<std::wstring> kList = {L"-Xmx1g", L"-XX:SharedArchiveFile=C:\\a b.jsa"};
const std::wstring kBlock = L"Count=2\r\n0=-Xmx1g\r\n1=-XX:SharedArchiveFile=C:\\a b.jsa\r\n";

SettingsText Utf8(std::wstring text) { return {SettingsText::Encoding::Utf8, std::move(text)}; }

TEST(SettingsText, ANewSectionStandsAtTheEnd) {
  EXPECT_EQ(WithList(Utf8(L""), kKey, kList).text, L"[HKLM\\Software\\Some\\QVJVMconfig]\r\n" + kBlock);
  EXPECT_EQ(WithList(Utf8(L"; mine\r\n[QV]\r\nX=1"), kKey, kList).text,
            L"; mine\r\n[QV]\r\nX=1\r\n\r\n[HKLM\\Software\\Some\\QVJVMconfig]\r\n" + kBlock);
}

TEST(SettingsText, TheListOfASectionIsReplacedAndAllElseStays) {
  const std::wstring before =
      L"# first\n[hkey_local_machine\\SOFTWARE\\some\\qvjvmconfig]\n; a remark\nCount=3\n0=a\n1 = \"b\"\n2=c\nother=x\n"
      L"[HKCU\\Software\\Some\\QVJVMconfig]\nCount=1\n0=user\n[HKLM\\Software\\Some\\QVJVMconfig]\nCount=9\n7=late\n";
  EXPECT_EQ(WithList(Utf8(before), kKey, {L"-Xint"}).text,
            L"# first\n[hkey_local_machine\\SOFTWARE\\some\\qvjvmconfig]\nCount=1\n0=-Xint\n; a remark\nother=x\n"
            L"[HKCU\\Software\\Some\\QVJVMconfig]\nCount=1\n0=user\n[HKLM\\Software\\Some\\QVJVMconfig]\n");
}

TEST(SettingsText, ASectionAtTheVeryEndWithoutALineEnd) {
  EXPECT_EQ(WithList(Utf8(L"[HKLM\\Software\\Some\\QVJVMconfig]"), kKey, kList).text,
            L"[HKLM\\Software\\Some\\QVJVMconfig]\r\n" + kBlock);
}

TEST(SettingsText, AListIsReadAsTheHostLibraryReadsIt) {
  EXPECT_THAT(
      *ReadList(Utf8(L"[HKLM\\Software\\Some\\QVJVMconfig]\n1=two\nCOUNT = 2\n0 = \" one \"\n0=late\n2=no\n"), kKey),
      ElementsAre(L" one ", L"two"));
  EXPECT_THAT(*ReadList(WithList(Utf8(L""), kKey, kList), kKey), testing::ElementsAreArray(kList));
}

TEST(SettingsText, WithoutASectionOrACountOrAnEntryThereIsNoList) {
  EXPECT_FALSE(ReadList(Utf8(L"[HKLM\\Software\\Other]\nCount=0\n"), kKey));
  EXPECT_FALSE(ReadList(Utf8(L"[HKLM\\Software\\Some\\QVJVMconfig]\n0=a\n"), kKey));
  EXPECT_FALSE(ReadList(Utf8(L"[HKLM\\Software\\Some\\QVJVMconfig]\nCount=2\n0=a\n"), kKey));
}

TEST(SettingsText, EveryEncodingComesBackAsItWas) {
  for (const std::string& bytes : {"[QV]\r\nX=Gr\xC3\xBC\xC3\x9F\r\n"s, "\xEF\xBB\xBF;\n[QV]\n"s,
                                   "\xFF\xFE[\0Q\0]\0\n\0"s, "\xFE\xFF\0[\0Q\0]\0\n"s, ""s}) {
    const auto settings = DecodeSettings(bytes);
    ASSERT_TRUE(settings);
    EXPECT_EQ(EncodeSettings(*settings), bytes);
  }
  EXPECT_EQ(DecodeSettings("\xFF\xFE[\0"s)->text, L"[");
  EXPECT_EQ(DecodeSettings("\xFE\xFF\0["s)->text, L"[");
}

TEST(SettingsText, WhatIsNoTextIsNotTouched) {
  EXPECT_FALSE(DecodeSettings("[QV]\r\nX=Gr\xFC\xDF\r\n"));
  EXPECT_FALSE(DecodeSettings("\xFF\xFE["s));
}

}  // namespace
}  // namespace train
