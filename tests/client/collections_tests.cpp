// Loops over Java's collections, and collections from C++ ranges.
#include <map>
#include <set>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using Sample = qvjvm::instance<"client/Sample">;

using ClientCollections = ClientTest;

TEST_F(ClientCollections, ListsSetsAndMapsAreMadeOfRanges) {
  EXPECT_EQ(qvjvm::new_list(java, std::vector<int32_t>{3, 1}).call<std::wstring>("toString"), L"[3, 1]");
  EXPECT_EQ(qvjvm::new_set(java, std::set<std::string>{"b", "a"}).call<std::wstring>("toString"), L"[a, b]");
  EXPECT_EQ(qvjvm::new_map(java, std::map<std::wstring, double>{{L"x", 0.5}}).call<std::wstring>("toString"),
            L"{x=0.5}");
  EXPECT_EQ(qvjvm::new_list(java, std::vector<bool>{true}).call<std::wstring>("toString"), L"[true]");
  const std::vector<std::optional<std::string>> gaps = {"x", std::nullopt};
  EXPECT_EQ(qvjvm::new_list(java, gaps).call<std::wstring>("toString"), L"[x, null]");
  EXPECT_EQ(qvjvm::new_list(java, std::vector<int32_t>{}).call<std::wstring>("toString"), L"[]");
}

TEST_F(ClientCollections, ALoopGoesOverEverythingThatHasElements) {
  const auto list = qvjvm::new_list(java, std::vector<std::wstring>{L"a", L"b"});
  std::wstring all;
  for (const std::wstring& element : qvjvm::elements<std::wstring>(list)) all += element;
  for (const std::wstring& element :
       qvjvm::elements<std::wstring>(list.call<qvjvm::instance<"java/util/Iterator">>("iterator"))) {
    all += element;
  }
  for (const std::wstring& element :
       qvjvm::elements<std::wstring>(qvjvm::array<std::wstring>::make(java, std::vector<std::wstring>{L"c"}))) {
    all += element;
  }
  for (const qvjvm::object& element : qvjvm::elements<qvjvm::object>(list)) all += element.as<std::wstring>();
  EXPECT_EQ(all, L"ababcab");
  int32_t sum = 0;
  for (const int32_t number :
       qvjvm::elements<int32_t>(Sample::call_static<"numbers", qvjvm::instance<"java/util/List">>(java, 5))) {
    sum += number;
  }
  EXPECT_EQ(sum, 10);
  for (const auto& element : qvjvm::elements<std::optional<std::wstring>>(
           qvjvm::new_list(java, std::vector<std::optional<std::wstring>>{std::nullopt}))) {
    EXPECT_EQ(element, std::nullopt);
  }
  EXPECT_THAT(FailureOf([&] { (void)qvjvm::elements<qvjvm::object>(java.new_string("x")); }).message(),
              HasSubstr(L"no Iterable"));
}

TEST_F(ClientCollections, TheWayBackIsAVectorOrPairs) {
  EXPECT_THAT(qvjvm::to_vector<int32_t>(qvjvm::new_list(java, std::vector<int32_t>{3, 1})), ElementsAre(3, 1));
  const auto map = qvjvm::new_map(java, std::map<std::string, int64_t>{{"a", 1}, {"b", 2}});
  EXPECT_THAT((qvjvm::entries<std::string, int64_t>(map)), ElementsAre(Pair("a", 1), Pair("b", 2)));
  EXPECT_THAT((qvjvm::entries<std::string, std::optional<int32_t>>(
                  qvjvm::new_map(java, std::map<std::string, std::optional<int32_t>>{{"none", std::nullopt}}))),
              ElementsAre(Pair("none", std::nullopt)));
  EXPECT_FALSE((qvjvm::try_entries<std::string, std::string>(qvjvm::new_list(java, std::vector<int32_t>{}))));
}

TEST_F(ClientCollections, AnElementOfAnotherTypeIsAFailure) {
  const auto mixed = Sample::call_static<"mixed", qvjvm::array<qvjvm::object>>(java);
  const auto texts = qvjvm::try_to_vector<std::wstring>(mixed);
  EXPECT_EQ(texts.reason().message(), L"a java.lang.Integer was taken for a java/lang/String");
  const auto numbers = qvjvm::try_to_vector<int32_t>(qvjvm::new_list(java, std::vector<std::string>{"x"}));
  EXPECT_EQ(numbers.reason().message(), L"a java.lang.String was taken for a java/lang/Integer");
  const auto values =
      qvjvm::try_entries<std::string, int32_t>(qvjvm::new_map(java, std::map<int32_t, int32_t>{{1, 1}}));
  EXPECT_EQ(values.reason().message(), L"a java.lang.Integer was taken for a java/lang/String");
}

TEST_F(ClientCollections, AFailureOfJavaEndsTheLoop) {
  const auto list = qvjvm::new_list(java, std::vector<int32_t>{1, 2, 3});
  int32_t seen = 0;
  const auto done = qvjvm::try_for_each<int32_t>(list, [&](int32_t) {
    ++seen;
    list.call<"clear">();
  });
  EXPECT_THAT(done.reason().message(), HasSubstr(L"ConcurrentModificationException"));
  EXPECT_EQ(seen, 1);
  int32_t first = 0;
  EXPECT_TRUE(qvjvm::try_for_each<int32_t>(qvjvm::new_list(java, std::vector<int32_t>{7, 8}), [&](int32_t element) {
    first = element;
    return false;
  }));
  EXPECT_EQ(first, 7);
}

TEST_F(ClientCollections, ALongLoopKeepsNoReferences) {
  // A thread may hold 16 references without asking; -Xcheck:jni reports more.
  const auto list = Sample::call_static<"numbers", qvjvm::instance<"java/util/List">>(java, 100000);
  int64_t sum = 0;
  for (const int32_t number : qvjvm::elements<int32_t>(list)) sum += number;
  EXPECT_EQ(sum, 4999950000);
}

}  // namespace
}  // namespace qvtest
