// The texts of headers, and the folder that they are in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "bind/literals.h"
#include "bind/output.h"
#include "bind/write.h"
#include "tests/bind/small_library.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

using namespace binder;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;

TEST(BindWrite, OnlyWhatWasAskedForAndItsSuperclassesHaveMembers) {
  SmallLibrary library;
  library.Add("a/Base", "java/lang/Object").methods = {SmallMethod("size", {}, "I")};
  library.Ask("a/Derived", "a/Base").methods = {SmallMethod("list", {}, "Ljava/util/List;")};
  const auto headers = WriteHeaders(library, {});
  EXPECT_THAT(headers, Contains(Key("a/Derived.hpp")));
  EXPECT_THAT(headers, Contains(Key("a/Base.hpp")));
  EXPECT_THAT(headers, Contains(Key("detail/java/util/List.hpp")));
  EXPECT_THAT(headers, Not(Contains(Key("java/util/List.hpp"))));
  EXPECT_THAT(headers, Not(Contains(Key("detail/java/lang/Integer.hpp"))));
  EXPECT_THAT(headers.at("detail/a/Derived.hpp"), HasSubstr("#include \"detail/a/Base.hpp\""));
  EXPECT_THAT(headers.at("detail/a/Derived.hpp"), HasSubstr("namespace java::util {\nclass List;\n}"));
  EXPECT_THAT(headers.at("a/Derived.hpp"), HasSubstr("#include \"detail/java/util/List.hpp\""));
  EXPECT_THAT(headers.at("a/Derived.hpp"), HasSubstr("#include \"a/Base.hpp\""));
  EXPECT_EQ(headers, WriteHeaders(library, {}));
}

TEST(BindWrite, AnOverloadStepsBackForAMoreSpecificOne) {
  SmallLibrary library;
  library.Ask("a/B").methods = {SmallMethod("put", {"Ljava/lang/Object;"}, "V"),
                                SmallMethod("put", {"Ljava/lang/String;"}, "V")};
  const std::string text = WriteHeaders(library, {}).at("detail/a/B.hpp");
  EXPECT_THAT(text,
              HasSubstr("template <::qvjvm::argument<::java::lang::Object> A1>\n"
                        "  requires(!::qvjvm::takes<::std::wstring>::from<A1>)\n  void put(const A1& p1) const;"));
  EXPECT_THAT(text, HasSubstr("template <::qvjvm::argument<::std::wstring> A1>\n  void put(const A1& p1) const;"));
}

TEST(BindWrite, TextIsOfTheKindThatWasAskedFor) {
  SmallLibrary library;
  Class& cls = library.Ask("a/B");
  cls.methods = {SmallMethod("text", {}, "Ljava/lang/String;")};
  cls.fields = {SmallField("T", "Ljava/lang/String;", kPublic | kStatic | kFinal)};
  cls.fields[0].constant = std::u16string(u"\u00e4");
  const std::string wide = WriteHeaders(library, {Text::Wide}).at("detail/a/B.hpp");
  EXPECT_THAT(wide, HasSubstr("::std::wstring text() const;"));
  EXPECT_THAT(wide, HasSubstr("static constexpr ::std::wstring_view T{L\"\\xE4\" L\"\", 1};"));
  const std::string utf8 = WriteHeaders(library, {Text::Utf8}).at("detail/a/B.hpp");
  EXPECT_THAT(utf8, HasSubstr("::std::string text() const;"));
  EXPECT_THAT(utf8, HasSubstr("static constexpr ::std::string_view T{\"\\xC3\" \"\\xA4\" \"\", 2};"));
}

TEST(BindWrite, AttemptsStandBehindTheirFunctions) {
  SmallLibrary library;
  Class& cls = library.Ask("a/B");
  cls.constructors = {SmallMethod("<init>", {}, "V")};
  cls.methods = {SmallMethod("size", {}, "I")};
  cls.fields = {SmallField("x", "I", kPublic)};
  EXPECT_THAT(WriteHeaders(library, {}).at("a/B.hpp"), Not(HasSubstr("try_")));
  const auto headers = WriteHeaders(library, {.attempts = true});
  EXPECT_THAT(headers.at("detail/a/B.hpp"), HasSubstr("::qvjvm::result<int32_t> try_size() const;"));
  EXPECT_THAT(headers.at("detail/a/B.hpp"), HasSubstr("::qvjvm::result<int32_t> try_get_x() const;"));
  EXPECT_THAT(headers.at("detail/a/B.hpp"), HasSubstr("::qvjvm::result<void> try_set_x(const Value& value) const;"));
  const std::string& bodies = headers.at("a/B.hpp");
  EXPECT_THAT(bodies, HasSubstr("return try_java_new<void()>(where);"));
  EXPECT_THAT(bodies, HasSubstr("template try_java_call<\"size\", int32_t()>();"));
  EXPECT_THAT(bodies, HasSubstr("return this->template try_set_field<\"x\", int32_t>("));
}

TEST(BindWrite, OfTwoMethodsThatBecomeOneTheNaturalOneStays) {
  SmallLibrary library;
  library.Ask("a/B").methods = {SmallMethod("delete", {}, "I"), SmallMethod("delete", {"I"}, "I"),
                                SmallMethod("delete_", {}, "J")};
  const std::string text = WriteHeaders(library, {}).at("detail/a/B.hpp");
  EXPECT_THAT(text, HasSubstr("int64_t delete_() const;"));
  EXPECT_THAT(text, Not(HasSubstr("int32_t delete_() const;")));
  EXPECT_THAT(text, HasSubstr("int32_t delete_(const A1& p1) const;"));
}

TEST(BindWrite, ASuperclassWhoseMembersAreUnknownIsDeclared) {
  SmallLibrary library;
  library.Add("a/Base", "java/lang/Object").membersRead = false;
  library.Ask("a/Derived", "a/Base");
  const auto headers = WriteHeaders(library, {});
  EXPECT_THAT(headers, Contains(Key("detail/a/Base.hpp")));
  EXPECT_THAT(headers, Not(Contains(Key("a/Base.hpp"))));
  EXPECT_THAT(headers.at("a/Derived.hpp"), Not(HasSubstr("\"a/Base.hpp\"")));
  EXPECT_THAT(headers.at("a/Derived.hpp"), HasSubstr("#include \"java/lang/Object.hpp\""));
}

TEST(BindWrite, TemplateParametersDoNotHideTheirClass) {
  SmallLibrary library;
  Class& cls = library.Ask("a/A1");
  cls.methods = {SmallMethod("f", {"I", "I"}, "V")};
  EXPECT_THAT(WriteHeaders(library, {}).at("detail/a/A1.hpp"), HasSubstr("void f(const A1_& p1, const A2& p2) const;"));
}

TEST(BindLiterals, EveryConstantComesBack) {
  EXPECT_EQ(LiteralOf(int32_t{1}, "Z", false), "true");
  EXPECT_EQ(LiteralOf(int32_t{0xFFFF}, "C", false), "static_cast<wchar_t>(65535)");
  EXPECT_EQ(LiteralOf(std::numeric_limits<int32_t>::min(), "I", false), "-2147483647 - 1");
  EXPECT_EQ(LiteralOf(int64_t{5}, "J", false), "5LL");
  EXPECT_EQ(LiteralOf(1.0F, "F", false), "1.0F");
  EXPECT_EQ(LiteralOf(0.1, "D", false), "0.1");
  EXPECT_EQ(LiteralOf(1e300, "D", false), "1e+300");
  EXPECT_EQ(LiteralOf(-std::numeric_limits<double>::infinity(), "D", false),
            "-::std::numeric_limits<double>::infinity()");
  EXPECT_EQ(LiteralOf(std::u16string(u"a\"?\\"), "Ljava/lang/String;", false), "L\"a\\\"\\x3F\" L\"\\\\\", 4");
}

TEST(BindWrite, HeadersThatDifferInCapitalsAloneAreTwoFiles) {
  SmallLibrary library;
  library.Ask("a/B").methods = {SmallMethod("other", {}, "La/b;")};
  library.Ask("a/b");
  const auto headers = WriteHeaders(library, {});
  EXPECT_TRUE(headers.contains("a/B.hpp"));
  EXPECT_THAT(headers.at("a/B.hpp"), HasSubstr("#include \"detail/a/b_.hpp\""));
  EXPECT_THAT(headers.at("a/b_.hpp"), HasSubstr("#include \"detail/a/b_.hpp\""));
  EXPECT_THAT(headers.at("detail/a/b_.hpp"), HasSubstr("class b : public"));
}

TEST(BindWrite, ClassesWhoseNamesBecomeOneAreTwo) {
  SmallLibrary library;
  for (const char* const name : {"a/B__C", "a/B___C", "a/B_C_"}) library.Ask(name);
  const auto headers = WriteHeaders(library, {});
  EXPECT_THAT(headers.at("detail/a/B_C_.hpp"), HasSubstr("class B_C_ : public ::qvjvm::wrapper<B_C_, \"a/B_C_\""));
  EXPECT_THAT(headers.at("detail/a/B_C__.hpp"), HasSubstr("class B_C__ : public ::qvjvm::wrapper<B_C__, \"a/B__C\""));
  EXPECT_THAT(headers.at("detail/a/B_C___.hpp"), HasSubstr("\"a/B___C\""));
}

TEST(BindWrite, TemplateParametersKeepClearOfMembers) {
  SmallLibrary library;
  library.Add("a/Base", "java/lang/Object").fields = {SmallField("A1", "I", kPublic)};
  binder::Class& cls = library.Ask("a/B", "a/Base");
  cls.methods = {SmallMethod("Value", {}, "I"), SmallMethod("put", {"I"}, "V")};
  cls.fields = {SmallField("x", "I", kPublic)};
  const std::string text = WriteHeaders(library, {}).at("detail/a/B.hpp");
  EXPECT_THAT(text, HasSubstr("void set_x(const Value_& value) const;"));
  EXPECT_THAT(text, HasSubstr("void put(const A1_& p1) const;"));
}

class BindFolder : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path Path(const wchar_t* name) const {
    return std::filesystem::path(m_temp.Path()) / name;
  }
  [[nodiscard]] std::filesystem::path Folder() const { return m_temp.Path(); }

 private:
  TempFolder m_temp;
};

TEST_F(BindFolder, WhatDiffersIsWrittenAndWhatIsNoLongerMadeGoes) {
  const std::string mark = std::string(kMark) + "\n";
  EXPECT_EQ(WriteFolder(Folder(), {{"a/B.hpp", mark + "b"},
                                   {"a/C.hpp", mark + "c"},
                                   {"detail/a/B.hpp", mark + "b"},
                                   {"detail/a/C.hpp", mark + "c"}}),
            4U);
  EXPECT_EQ(WriteFolder(Path(L"other"), {{"detail/E.hpp", mark}}), 1U);
  std::ofstream(Path(L"detail\\own.hpp")) << "a host's own";
  EXPECT_EQ(WriteFolder(Folder(), {{"a/B.hpp", mark + "b"}, {"detail/a/B.hpp", mark + "b"}, {"detail/a/D.hpp", mark}}),
            1U);
  EXPECT_TRUE(std::filesystem::exists(Path(L"a\\B.hpp")));
  EXPECT_FALSE(std::filesystem::exists(Path(L"a\\C.hpp")));
  EXPECT_FALSE(std::filesystem::exists(Path(L"detail\\a\\C.hpp")));
  EXPECT_TRUE(std::filesystem::exists(Path(L"detail\\a\\D.hpp")));
  EXPECT_TRUE(std::filesystem::exists(Path(L"detail\\own.hpp")));
  EXPECT_TRUE(std::filesystem::exists(Path(L"other\\detail\\E.hpp")));
}

TEST_F(BindFolder, DifferencesAreToldWithTheirLine) {
  const std::string mark = std::string(kMark) + "\n";
  (void)WriteFolder(Folder(), {{"detail/B.hpp", mark + "one\ntwo\n"}, {"detail/C.hpp", mark}});
  EXPECT_THAT(Differences(Folder(), {{"detail/B.hpp", mark + "one\ntwo\n"}, {"detail/C.hpp", mark}}), IsEmpty());
  EXPECT_THAT(Differences(Folder(), {{"detail/B.hpp", mark + "one\n2\n"}, {"detail/D.hpp", mark}}),
              ElementsAre("detail/B.hpp: line 3 is \"two\", would be \"2\"", "detail/D.hpp: is not there",
                          "detail/C.hpp: would not be made"));
}

TEST_F(BindFolder, EndsOfLinesOfACheckoutAreNoDifference) {
  std::ofstream(Path(L"B.hpp"), std::ios::binary) << kMark << "\r\none\r\n";
  EXPECT_THAT(Differences(Folder(), {{"B.hpp", std::string(kMark) + "\none\n"}}), IsEmpty());
}

}  // namespace
}  // namespace qvtest
