// The naming rule, row by row.
#include <gtest/gtest.h>

#include "bind/names.h"

namespace qvtest {
namespace {

using namespace binder;

TEST(BindNames, ATakenNameGetsAnUnderscore) {
  struct Row {
    const char* java;
    const char* cpp;
    Reserved why;
  };
  const Row rows[] = {
      {"size", "size", Reserved::No},
      {"get", "get", Reserved::No},
      {"delete", "delete_", Reserved::Keyword},
      {"and", "and_", Reserved::Keyword},
      {"requires", "requires_", Reserved::Keyword},
      {"std", "std_", Reserved::Keyword},
      {"ERROR", "ERROR_", Reserved::Macro},
      {"min", "min_", Reserved::Macro},
      {"CREATE_NEW", "CREATE_NEW_", Reserved::Macro},
      {"GetObject", "GetObject_", Reserved::Macro},
      {"call", "call_", Reserved::Client},
      {"as", "as_", Reserved::Client},
      {"create", "create_", Reserved::Client},
      {"java_interfaces", "java_interfaces_", Reserved::Client},
      {"a$b", "a_b_", Reserved::Form},
      {"a__b", "a_b_", Reserved::Form},
      {"$", "_", Reserved::Form},
      {"_Upper", "Upper_", Reserved::Form},
      {"_lower", "_lower", Reserved::No},
      {"ends_", "ends_", Reserved::No},
      {"width-0d7_KjU", "width_0d7_KjU_", Reserved::Form},
      {"2nd", "_2nd_", Reserved::Form},
      {"a name with blanks", "a_name_with_blanks_", Reserved::Form},
      {"gr\xC3\xB6\xC3\x9F\x65", "gr\xC3\xB6\xC3\x9F\x65", Reserved::No},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(NameOf(row.java), row.cpp) << row.java;
    EXPECT_EQ(WhyReserved(row.java), row.why) << row.java;
    EXPECT_EQ(NameOf(NameOf(row.java)), row.cpp) << row.java;
  }
}

TEST(BindNames, PackagesAreNamespaces) {
  EXPECT_EQ(NamespacesOf("java/util/Map$Entry"), (std::vector<std::string>{"java", "util"}));
  EXPECT_EQ(NamespacesOf("org/delete/export/X"), (std::vector<std::string>{"org", "delete_", "export_"}));
  EXPECT_TRUE(NamespacesOf("Alone").empty());
}

TEST(BindNames, NestedClassesHaveTheirOutersInFront) {
  EXPECT_EQ(ClassNameOf("java/util/ArrayList", ""), "ArrayList");
  EXPECT_EQ(ClassNameOf("java/util/Map$Entry", "java/util/Map"), "Map_Entry");
  EXPECT_EQ(ClassNameOf("a/B$C$D", "a/B$C"), "B_C_D");
  EXPECT_EQ(ClassNameOf("a/class", ""), "class_");
  EXPECT_EQ(ClassNameOf("a/B$class", "a/B"), "B_class");
  EXPECT_EQ(ClassNameOf("a/With$Dollar", ""), "With_Dollar_");
  EXPECT_EQ(ClassNameOf("Alone$In", "Alone"), "Alone_In");
  EXPECT_EQ(ClassNameOf("a/B$C", "a/B", true), "B_C_");
  EXPECT_EQ(NestedPart("a/B$C", "a/B"), "C");
  EXPECT_EQ(NestedPart("a/B$C", "a/B$"), "C");
  EXPECT_EQ(NestedPart("a/D", "a/B"), "");
}

TEST(BindNames, WhatWouldEndALineOrALiteralIsNotWritten) {
  for (const char* const name : {"x\nint y", "\"", "a\\", "\x7F", ""}) EXPECT_FALSE(CanBeWritten(name)) << name;
  for (const char* const name : {"x", "a-b", "<init>", "gr\xC3\xB6"}) EXPECT_TRUE(CanBeWritten(name)) << name;
}

TEST(BindNames, NoMemberIsNamedAsItsClass) {
  EXPECT_EQ(MemberNameOf("Names", "Names"), "Names_");
  EXPECT_EQ(MemberNameOf("names", "Names"), "names");
}

}  // namespace
}  // namespace qvtest
