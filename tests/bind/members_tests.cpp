// Which methods a class declares, and which overload goes first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bind/members.h"
#include "tests/bind/small_library.h"

namespace qvtest {
namespace {

using namespace binder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kObjectType = "Ljava/lang/Object;";
constexpr const char* kStringType = "Ljava/lang/String;";

// "name(parameters)result" of each.
std::vector<std::string> Declared(const Library& library, const Class& cls) {
  Members members(library);
  std::vector<std::string> all;
  for (const Visible& visible : members.MethodsOf(cls)) {
    std::string text = visible.method->name + "(";
    for (const std::string& parameter : visible.method->parameters) text += parameter;
    all.push_back(text + ")" + visible.method->result);
  }
  return all;
}

TEST(BindMembers, TypesFitAsInJava) {
  const SmallLibrary library;
  struct Row {
    const char* from;
    const char* to;
    bool fits;
  };
  const Row rows[] = {
      {"B", "S", true},
      {"S", "I", true},
      {"C", "I", true},
      {"C", "S", false},
      {"I", "F", true},
      {"J", "I", false},
      {"Z", "I", false},
      {"I", "Z", false},
      {"Z", "Z", true},
      {"I", kObjectType, false},
      {kStringType, kObjectType, true},
      {kStringType, "Ljava/lang/CharSequence;", true},
      {kObjectType, kStringType, false},
      {"Ljava/util/List;", "Ljava/lang/Iterable;", true},
      {"Ljava/util/List;", kObjectType, true},
      {"[I", kObjectType, true},
      {"[I", "[J", false},
      {"[I", "Ljava/io/Serializable;", true},
      {"[Ljava/lang/String;", "[Ljava/lang/Object;", true},
      {"[[I", "[Ljava/lang/Object;", true},
      {"[I", "[Ljava/lang/Object;", false},
  };
  for (const Row& row : rows) EXPECT_EQ(Fits(library, row.from, row.to), row.fits) << row.from << " " << row.to;
}

TEST(BindMembers, OneOverloadIsMoreSpecificThanAnother) {
  const SmallLibrary library;
  const auto text = SmallMethod("f", {kStringType, kObjectType}, "V");
  const auto any = SmallMethod("f", {kObjectType, kObjectType}, "V");
  const auto other = SmallMethod("f", {kObjectType, kStringType}, "V");
  EXPECT_TRUE(MoreSpecific(library, text, any));
  EXPECT_FALSE(MoreSpecific(library, any, text));
  EXPECT_FALSE(MoreSpecific(library, text, other));
  EXPECT_FALSE(MoreSpecific(library, text, text));
}

TEST(BindMembers, WhatTheSuperclassHasIsNotSaidAgain) {
  SmallLibrary library;
  library.Ask("a/Base").methods = {SmallMethod("f", {}, "I"), SmallMethod("g", {}, "I")};
  library.Ask("a/Derived", "a/Base").methods = {SmallMethod("f", {}, "I")};
  EXPECT_THAT(Declared(library, library.classes["a/Derived"]), IsEmpty());
}

TEST(BindMembers, AnOverloadBringsThoseFromAbove) {
  SmallLibrary library;
  library.Ask("a/Base").methods = {SmallMethod("f", {kObjectType}, "I"), SmallMethod("g", {}, "I")};
  library.Ask("a/Derived", "a/Base").methods = {SmallMethod("f", {kStringType}, "I")};
  EXPECT_THAT(Declared(library, library.classes["a/Derived"]),
              ElementsAre("f(Ljava/lang/Object;)I", "f(Ljava/lang/String;)I"));
}

TEST(BindMembers, ANarrowerResultIsSaidAgain) {
  SmallLibrary library;
  library.Ask("a/Base").methods = {SmallMethod("f", {}, kObjectType)};
  library.Ask("a/Derived", "a/Base").methods = {SmallMethod("f", {}, kStringType),
                                                SmallMethod("f", {}, kObjectType, kPublic | kBridge | kSynthetic)};
  EXPECT_THAT(Declared(library, library.classes["a/Derived"]), ElementsAre("f()Ljava/lang/String;"));
}

TEST(BindMembers, InterfacesBringTheirMethodsIntoClassesThatDoNotDeclareThem) {
  SmallLibrary library;
  library.Add("a/Named", "", {}, kInterface).methods = {SmallMethod("name", {}, kStringType, kPublic | kAbstract),
                                                        SmallMethod("made", {}, "I", kPublic | kStatic)};
  library.Ask("a/Unfinished", "java/lang/Object", {"a/Named"}, kAbstract);
  EXPECT_THAT(Declared(library, library.classes["a/Unfinished"]), ElementsAre("name()Ljava/lang/String;"));
  library.Ask("a/MoreNamed", "", {"a/Named"}, kInterface);
  EXPECT_THAT(Declared(library, library.classes["a/MoreNamed"]), ElementsAre("name()Ljava/lang/String;"));
}

TEST(BindMembers, ABridgeGoesBesideWhatItBridgesToAlone) {
  SmallLibrary library;
  constexpr uint32_t bridge = kPublic | kBridge | kSynthetic;
  library.Add("a/Comparable", "", {}, kInterface).methods = {SmallMethod("compare", {kObjectType}, "I")};
  library.Ask("a/Number", "java/lang/Object", {"a/Comparable"}).methods = {
      SmallMethod("compare", {kObjectType}, "I", bridge), SmallMethod("compare", {"La/Number;"}, "I")};
  EXPECT_THAT(Declared(library, library.classes["a/Number"]), ElementsAre("compare(La/Number;)I"));
  // A class below, which names the interface once more, has no more than that.
  library.Ask("a/Below", "a/Number", {"a/Comparable"});
  EXPECT_THAT(Declared(library, library.classes["a/Below"]), IsEmpty());
  // The compiler's own way of showing what a class that is not public has.
  library.Ask("a/Shown").methods = {SmallMethod("append", {"C"}, kObjectType, bridge)};
  EXPECT_THAT(Declared(library, library.classes["a/Shown"]), ElementsAre("append(C)Ljava/lang/Object;"));
}

TEST(BindMembers, AllInterfacesAreThoseOfTheSuperclassesToo) {
  SmallLibrary library;
  library.Ask("a/Base", "java/lang/Object", {"java/util/List"});
  const Class& derived = library.Ask("a/Derived", "a/Base", {"java/lang/CharSequence"});
  EXPECT_THAT(AllInterfaces(library, derived),
              ElementsAre("java/lang/CharSequence", "java/lang/Iterable", "java/util/Collection", "java/util/List"));
}

}  // namespace
}  // namespace qvtest
