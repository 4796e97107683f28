// Values and signatures: what goes into Java comes out of it.
#include <jni.h>

#include <cmath>
#include <limits>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::ElementsAre;

using ClientCalls = ClientTest;

TEST_F(ClientCalls, SignaturesFollowTheTypes) {
  using qvjvm::detail::signature_of;
  struct Row {
    const char* made;
    const char* expected;
  };
  const Row rows[] = {
      {signature_of<void>.c_str(), "()V"},
      {signature_of<void, const char*, std::string, std::u8string_view, std::nullptr_t>.c_str(),
       "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/Object;)V"},
      {signature_of<std::optional<int32_t>, std::optional<qvjvm::object>, qvjvm::boxed<bool>>.c_str(),
       "(Ljava/lang/Object;Ljava/lang/Boolean;)Ljava/lang/Integer;"},
      {signature_of<std::vector<std::vector<int32_t>>, std::vector<uint8_t>, std::span<const std::byte>,
                    std::vector<bool>>.c_str(),
       "([B[B[Z)[[I"},
      {signature_of<qvjvm::array<qvjvm::instance<"java/util/List">>, qvjvm::class_ref, qvjvm::global,
                    qvjvm::throwable>.c_str(),
       "(Ljava/lang/Class;Ljava/lang/Object;Ljava/lang/Throwable;)[Ljava/util/List;"},
      {signature_of<bool, int8_t, char16_t, int16_t, int32_t, int64_t, float, double>.c_str(), "(BCSIJFD)Z"},
      {signature_of<std::wstring, const wchar_t*, std::u16string>.c_str(),
       "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;"},
      {signature_of<std::optional<std::wstring>, std::u16string_view>.c_str(), "(Ljava/lang/String;)Ljava/lang/String;"},
      {signature_of<qvjvm::object, qvjvm::instance<"java/util/List">>.c_str(), "(Ljava/util/List;)Ljava/lang/Object;"},
      {signature_of<std::vector<int8_t>, std::span<const double>>.c_str(), "([D)[B"},
      {signature_of<std::vector<std::wstring>, std::vector<std::wstring>>.c_str(),
       "([Ljava/lang/String;)[Ljava/lang/String;"},
      {signature_of<qvjvm::instance<"java/util/Map">, long>.c_str(), "(I)Ljava/util/Map;"},
  };
  for (const Row& row : rows) EXPECT_STREQ(row.made, row.expected);
}

// Boxes a value with the wrapper class and takes it out again by its instance method.
template <class T>
void ThereAndBack(const qvjvm::jvm& java, const char* wrapper, const char* method, std::initializer_list<T> values) {
  const qvjvm::class_ref cls = java.find_class(wrapper);
  for (const T value : values) {
    const qvjvm::object boxed = cls.create(value);
    const T back = boxed.call<T>(method);
    EXPECT_TRUE(back == value || (back != back && value != value)) << wrapper << ": " << +back << " is not " << +value;
  }
}

TEST_F(ClientCalls, EveryPrimitiveTypeComesBackAtItsExtremes) {
  ThereAndBack<int8_t>(java, "java/lang/Byte", "byteValue", {-128, -1, 0, 127});
  ThereAndBack<int16_t>(java, "java/lang/Short", "shortValue", {-32768, -1, 0, 32767});
  ThereAndBack<int32_t>(java, "java/lang/Integer", "intValue",
                        {std::numeric_limits<int32_t>::min(), -1, 0, std::numeric_limits<int32_t>::max()});
  ThereAndBack<int64_t>(java, "java/lang/Long", "longValue",
                        {std::numeric_limits<int64_t>::min(), -1, 0, std::numeric_limits<int64_t>::max()});
  ThereAndBack<float>(java, "java/lang/Float", "floatValue",
                      {-std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min(),
                       std::numeric_limits<float>::infinity(), std::nanf("")});
  ThereAndBack<double>(java, "java/lang/Double", "doubleValue",
                       {-std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
                        -std::numeric_limits<double>::infinity(), std::nan("")});
  ThereAndBack<bool>(java, "java/lang/Boolean", "booleanValue", {true, false});
  ThereAndBack<char16_t>(java, "java/lang/Character", "charValue", {u'\0', u'A', u'\u20ac', u'\xFFFF'});
}

TEST_F(ClientCalls, TextKeepsEveryUnit) {
  std::wstring all = L"null:";
  all.push_back(L'\0');
  all += L" pair:\xD83D\xDE00 lone:\xD800 end";
  for (const std::wstring& text : {std::wstring(), all, std::wstring(100000, L'\u20ac')}) {
    const qvjvm::object string = java.new_string(text);
    EXPECT_EQ(string.call<int32_t>("length"), static_cast<int32_t>(text.size()));
    EXPECT_EQ(string.call<std::wstring>("toString"), text);
  }
  EXPECT_EQ(java.new_string(L"abc").call<std::u16string>("concat", u"def"), u"abcdef");
}

TEST_F(ClientCalls, ANullStringIsEmptyOrAbsentAsTheHostAsks) {
  const qvjvm::class_ref system = java.find_class("java/lang/System");
  EXPECT_EQ(system.call_static<std::wstring>("getProperty", L"no.such.property"), L"");
  EXPECT_EQ(system.call_static<std::optional<std::wstring>>("getProperty", L"no.such.property"), std::nullopt);
  EXPECT_EQ(system.call_static<std::optional<std::wstring>>("getProperty", L"file.separator"), L"\\");
}

TEST_F(ClientCalls, ArraysOfEveryElementTypeGoBothWays) {
  const qvjvm::class_ref arrays = java.find_class("java/util/Arrays");
  EXPECT_EQ(arrays.call_static<std::wstring>("toString", std::vector<int32_t>{3, -1}), L"[3, -1]");
  EXPECT_EQ(arrays.call_static<std::wstring>("toString", std::vector<int64_t>{1LL << 40}), L"[1099511627776]");
  EXPECT_EQ(arrays.call_static<std::wstring>("toString", std::vector<int16_t>{}), L"[]");
  EXPECT_EQ(arrays.call_static<std::wstring>("toString", std::vector<double>{0.5}), L"[0.5]");
  EXPECT_EQ(arrays.call_static<std::wstring>("toString", std::vector<char16_t>{u'a', u'b'}), L"[a, b]");
  EXPECT_THAT(arrays.call_static<std::vector<int32_t>>("copyOf", std::vector<int32_t>{1, 2}, 3), ElementsAre(1, 2, 0));
  EXPECT_THAT(arrays.call_static<std::vector<float>>("copyOf", std::vector<float>{1.5F}, 2), ElementsAre(1.5F, 0.0F));
  EXPECT_THAT(java.new_string(L"\u00e4").call<std::vector<int8_t>>("getBytes", L"UTF-8"), ElementsAre(-61, -92));
  EXPECT_THAT(java.new_string(L"a,b,,c").call<std::vector<std::wstring>>("split", L","),
              ElementsAre(L"a", L"b", L"", L"c"));
  const qvjvm::class_ref string = java.find_class("java/lang/String");
  const std::vector<std::wstring> words = {L"one", L"", L"two"};
  const auto joined = string.try_call_static<std::wstring>("valueOf", std::vector<char16_t>{u'x', u'y'});
  ASSERT_TRUE(joined);
  const qvjvm::object list = java.find_class("java/util/ArrayList").create();
  for (const std::wstring& word : words) list.call_as<bool>("add", "(Ljava/lang/Object;)Z", word);
  EXPECT_EQ(list.call<std::wstring>("toString"), L"[one, , two]");
}

TEST_F(ClientCalls, FieldsAreRead) {
  EXPECT_EQ(java.find_class("java/lang/Integer").static_field<int32_t>("MIN_VALUE"),
            std::numeric_limits<int32_t>::min());
  EXPECT_EQ(java.find_class("java/lang/Short").static_field<int16_t>("MAX_VALUE"), 32767);
  EXPECT_EQ(java.find_class("java/lang/Character").static_field<char16_t>("MAX_VALUE"), u'\xFFFF');
  EXPECT_EQ(java.find_class("java/io/File").static_field<std::wstring>("separator"), L"\\");
  const qvjvm::object point = java.find_class("java/util/concurrent/atomic/AtomicInteger").create(7);
  EXPECT_EQ(point.call<int32_t>("incrementAndGet"), 8);
}

TEST_F(ClientCalls, ResolvedMethodsCallWithoutAnotherLookUp) {
  const qvjvm::class_ref builder = java.find_class("java/lang/StringBuilder");
  const auto append = builder.find_method<qvjvm::instance<"java/lang/StringBuilder">(std::wstring_view)>("append");
  const auto length = builder.find_method<int32_t()>("length");
  const qvjvm::object text = builder.create();
  for (int i = 0; i < 1000; ++i) append(text, L"xy");
  EXPECT_EQ(length(text), 2000);
  const auto parse =
      java.find_class("java/lang/Integer").find_static_method<int32_t(std::wstring_view, int32_t)>("parseInt");
  EXPECT_EQ(parse(L"ff", 16), 255);
}

TEST_F(ClientCalls, ObjectsKnowTheirClass) {
  const qvjvm::object list = java.find_class("java/util/ArrayList").create();
  EXPECT_TRUE(list.is_instance_of(java.find_class("java/util/List")));
  EXPECT_FALSE(list.is_instance_of(java.find_class("java/util/Map")));
  EXPECT_EQ(list.get_class().call<std::wstring>("getName"), L"java.util.ArrayList");
  EXPECT_TRUE(list.same_as(list.copy()));
  EXPECT_FALSE(list.same_as(java.find_class("java/util/ArrayList").create()));
}

TEST_F(ClientCalls, AReferenceOfTheHostsOwnJniIsTakenOver) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  const jstring text = env->NewStringUTF("by hand");
  EXPECT_EQ(java.object_of(text).as<std::wstring>(), L"by hand");
  EXPECT_EQ(env->GetStringLength(text), 7);  // it stays the host's
  env->DeleteLocalRef(text);
  EXPECT_FALSE(java.object_of(nullptr));
}

TEST_F(ClientCalls, TheServiceTellsAboutItself) {
  EXPECT_TRUE(java.created());
  EXPECT_THAT(java.java_version(), testing::HasSubstr(L".0."));
  EXPECT_THAT(java.class_path(), testing::EndsWith(L";."));
  EXPECT_FALSE(java.log_file().empty());
  EXPECT_NE(java.env(), nullptr);
}

}  // namespace
}  // namespace qvtest
