#include "tests/startup/whole_options.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace qvtest {

namespace {

using Strings = std::vector<std::string>;

Strings ElementsOf(const std::string& classPath) {
  std::istringstream text(classPath + ";");
  Strings elements;
  for (std::string element; std::getline(text, element, ';');) elements.push_back(element);
  return elements;
}

constexpr size_t kFixed = 4;

}  // namespace

void ExpectWholeOptions(const Strings& got, const Strings& normal, bool knownHost) {
  ASSERT_GE(got.size(), kFixed);
  const Strings known = ElementsOf(normal[0]);
  for (const std::string& element : ElementsOf(got[0])) {
    EXPECT_TRUE(std::count(known.begin(), known.end(), element) != 0 || element == "\\JRE\\LIB\\rt.jar" ||
                element == "\\LIB\\tools.jar" || element.empty())
        << "class path element " << element;
  }
  EXPECT_EQ(ElementsOf(got[0]).front(), known.front()) << "the thread's own class path";
  EXPECT_EQ(got[0].substr(got[0].size() - 2), ";.");
  EXPECT_EQ(Strings(got.begin() + 1, got.begin() + kFixed), Strings(normal.begin() + 1, normal.begin() + kFixed));

  const Strings rest(got.begin() + kFixed, got.end());
  const auto isProperty = [](const std::string& option) { return option.rfind("-D", 0) == 0; };
  const auto split = std::find_if(normal.begin() + kFixed, normal.end(), isProperty);
  std::vector<Strings> lists = {Strings(normal.begin() + kFixed, split)};
  std::vector<Strings> properties = {Strings(split, normal.end()), {}};
  if (!knownHost) {
    lists.push_back({"-Xmx128m", "-verbose:jni"});
    properties.push_back({"-Djava.compiler=NONE"});
  }
  std::set<Strings> allowed;
  for (const Strings& list : lists) {
    for (const Strings& tail : properties) {
      Strings whole = list;
      whole.insert(whole.end(), tail.begin(), tail.end());
      allowed.insert(whole);
    }
  }
  EXPECT_TRUE(allowed.contains(rest)) << testing::PrintToString(rest);
}

}  // namespace qvtest
