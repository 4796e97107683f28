#include "tests/startup/whole_options.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace qvtest {

namespace {

using Strings = std::vector<std::string>;

Strings Split(const std::string& text, char separator) {
  Strings parts(1);
  for (const char c : text) {
    if (c == separator) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

bool Contains(const Strings& all, const std::string& one) {
  return std::find(all.begin(), all.end(), one) != all.end();
}

constexpr size_t kFixed = 4;
const Strings kBuiltInList = {"-Xmx128m", "-verbose:jni"};
const Strings kBuiltInProperties = {"-Djava.compiler=NONE"};

}  // namespace

void ExpectWholeOptions(const Strings& got, const Strings& normal, bool knownHost) {
  ASSERT_GE(got.size(), kFixed);
  const Strings known = Split(normal[0], ';');
  for (const std::string& element : Split(got[0], ';')) {
    EXPECT_TRUE(Contains(known, element) || element == "\\JRE\\LIB\\rt.jar" || element == "\\LIB\\tools.jar" ||
                element.empty())
        << "class path element " << element;
  }
  EXPECT_EQ(Split(got[0], ';').front(), known.front()) << "the thread's own class path";
  EXPECT_EQ(got[0].substr(got[0].size() - 2), ";.");
  EXPECT_EQ(Strings(got.begin() + 1, got.begin() + kFixed), Strings(normal.begin() + 1, normal.begin() + kFixed));

  const Strings rest(got.begin() + kFixed, got.end());
  const auto isProperty = [](const std::string& option) { return option.rfind("-D", 0) == 0; };
  const auto split = std::find_if(normal.begin() + kFixed, normal.end(), isProperty);
  std::vector<Strings> lists = {Strings(normal.begin() + kFixed, split)};
  std::vector<Strings> properties = {Strings(split, normal.end()), {}};
  if (!knownHost) {
    lists.push_back(kBuiltInList);
    properties.push_back(kBuiltInProperties);
  }
  bool allowed = false;
  for (Strings list : lists) {
    for (const Strings& tail : properties) {
      Strings whole = list;
      whole.insert(whole.end(), tail.begin(), tail.end());
      allowed = allowed || whole == rest;
    }
  }
  EXPECT_TRUE(allowed) << testing::PrintToString(rest);
}

}  // namespace qvtest
