// Text, null, boxes, arrays: every type of the table goes into Java and comes out of it.
#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using Sample = qvjvm::instance<"client/Sample">;

using ClientValues = ClientTest;

struct Utf8Row {
  const char* name;
  std::string bytes;
  std::wstring units;  // what Java has
  std::string back;    // what comes out again
};

TEST_F(ClientValues, Utf8GoesBothWays) {
  const std::string mark = "\xEF\xBF\xBD";  // U+FFFD
  const Utf8Row rows[] = {
      {"empty", "", L"", ""},
      {"every length", "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", L"a\u00e4\u20ac\xD83D\xDE00",
       "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"a null inside", std::string("a\0b", 3), std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
      {"a lone byte of a sequence", "a\x80z", L"a\uFFFDz", "a" + mark + "z"},
      {"a cut sequence", "a\xE2\x82", L"a\uFFFD", "a" + mark},
      {"a longer form than needed", "\xC0\x80\xE0\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD",
       mark + mark + mark + mark + mark},
      {"a surrogate as UTF-8", "\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD", mark + mark + mark},
      {"above the last code point", "\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD", mark + mark + mark + mark},
      {"the last code point", "\xF4\x8F\xBF\xBF", L"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},
      {"a sequence cut by another character", "\xE2\x82z", L"\uFFFDz", mark + "z"},
  };
  for (const Utf8Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto string = java.new_string(row.bytes);
    EXPECT_EQ(string.call<std::wstring>("toString"), row.units);
    EXPECT_EQ(string.call<std::string>("toString"), row.back);
    EXPECT_EQ(string.as<std::string>(), row.back);
  }
  EXPECT_EQ(java.new_string(std::wstring(L"a\xD800z\xDC00")).as<std::string>(), "a" + mark + "z" + mark);
}

TEST_F(ClientValues, EveryKindOfTextIsTaken) {
  const std::string bytes = "\xC3\xA4";
  const auto same = [&](const auto& text) {
    return Sample::create(java).call<"same", qvjvm::object(qvjvm::object)>(text).template as<std::wstring>();
  };
  const char* const pointer = bytes.c_str();
  const std::u8string_view view = u8"\u00e4";
  EXPECT_EQ(same(bytes), L"\u00e4");
  EXPECT_EQ(same(std::string_view(bytes)), L"\u00e4");
  EXPECT_EQ(same(pointer), L"\u00e4");
  EXPECT_EQ(same("\xC3\xA4"), L"\u00e4");
  EXPECT_EQ(same(view), L"\u00e4");
  EXPECT_EQ(same(u8"\u00e4"), L"\u00e4");
  EXPECT_EQ(same(u"\u00e4"), L"\u00e4");
  EXPECT_EQ(same(std::u16string(u"\u00e4")), L"\u00e4");
  EXPECT_EQ(same(L"\u00e4"), L"\u00e4");
  EXPECT_EQ(java.new_string("x").call<std::u8string>("toString"), u8"x");
}

TEST_F(ClientValues, NullGoesInAndComesOut) {
  const auto sample = Sample::create(java);
  const auto same = [&](const auto& value) { return sample.call<"same", qvjvm::object(qvjvm::object)>(value); };
  EXPECT_FALSE(same(nullptr));
  EXPECT_FALSE(same(std::optional<std::wstring>()));
  EXPECT_FALSE(same(std::optional<int32_t>()));
  EXPECT_FALSE(same(static_cast<const wchar_t*>(nullptr)));
  EXPECT_FALSE(same(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(same(qvjvm::object()));
  EXPECT_FALSE(same(qvjvm::global()));
  EXPECT_EQ(same(std::optional<std::wstring>(L"text")).as<std::wstring>(), L"text");
  EXPECT_EQ(same(std::optional<int32_t>(7)).as<int32_t>(), 7);
  EXPECT_EQ((sample.call<"same", std::optional<qvjvm::object>(qvjvm::object)>(nullptr)), std::nullopt);
  const auto none = Sample::try_call_static<"plusOne", std::optional<int32_t>>(java, std::optional<int32_t>());
  ASSERT_TRUE(none);
  EXPECT_EQ(none.value(), std::nullopt);
}

TEST_F(ClientValues, BoxesAreFilledAndOpened) {
  EXPECT_EQ((Sample::call_static<"plusOne", qvjvm::boxed<int32_t>>(java, qvjvm::boxed{41}).value), 42);
  EXPECT_EQ((Sample::call_static<"plusOne", std::optional<int32_t>>(java, qvjvm::boxed{41})), 42);
  const auto null = Sample::try_call_static<"plusOne", qvjvm::boxed<int32_t>>(java, std::optional<int32_t>());
  EXPECT_EQ(null.reason().message(), L"Java gave null where a number was wanted");
  const auto sample = Sample::create(java);
  const auto there_and_back = [&]<class T>(T value, const wchar_t* cls) {
    const auto box = sample.call<"same", qvjvm::object(qvjvm::object)>(qvjvm::boxed<T>{value});
    EXPECT_EQ(box.get_class().template call<std::wstring>("getName"), cls);
    EXPECT_EQ(box.template as<T>(), value) << cls;
  };
  there_and_back(true, L"java.lang.Boolean");
  there_and_back(int8_t{-128}, L"java.lang.Byte");
  there_and_back(u'\u20ac', L"java.lang.Character");
  there_and_back(int16_t{-32768}, L"java.lang.Short");
  there_and_back(int32_t{1} << 30, L"java.lang.Integer");
  there_and_back(int64_t{1} << 40, L"java.lang.Long");
  there_and_back(1.5F, L"java.lang.Float");
  there_and_back(-0.1, L"java.lang.Double");
}

enum class Level : int32_t { low = 1, high = 700000 };
enum Small : int16_t { one = 1 };

TEST_F(ClientValues, EnumsClassesAndGlobalsAreArguments) {
  const auto integer = java.find_class("java/lang/Integer");
  EXPECT_EQ(integer.call_static<std::wstring>("toString", Level::high), L"700000");
  EXPECT_EQ(java.find_class("java/lang/Short").call_static<std::wstring>("toString", one), L"1");
  EXPECT_EQ((Sample::call_static<"nameOf", std::wstring(qvjvm::class_ref)>(java, integer)), L"java.lang.Integer");
  const qvjvm::global kept(java.new_string("kept"));
  EXPECT_EQ((Sample::call_static<"classOf", qvjvm::class_ref>(java, kept).call<std::wstring>("getName")),
            L"java.lang.String");
}

TEST_F(ClientValues, ArraysOfBytesBooleansAndCharacters) {
  const std::vector<uint8_t> bytes = {0, 1, 127, 128, 255};
  EXPECT_EQ((Sample::call_static<"bytes", std::vector<uint8_t>>(java, bytes)), bytes);
  const std::vector<std::byte> raw = {std::byte{0xFF}, std::byte{0}};
  EXPECT_EQ((Sample::call_static<"bytes", std::vector<std::byte>>(java, std::span(raw))), raw);
  EXPECT_EQ((Sample::call_static<"bytes", std::vector<int8_t>>(java, raw)), (std::vector<int8_t>{-1, 0}));
  EXPECT_THAT((Sample::call_static<"flip", std::vector<bool>>(java, std::vector<bool>{true, false, true})),
              ElementsAre(false, true, false));
  EXPECT_THAT((Sample::call_static<"flip", std::vector<bool>>(java, std::vector<bool>{})), ElementsAre());
  EXPECT_THAT((Sample::call_static<"chars", std::vector<char16_t>>(java, std::vector<wchar_t>{L'a', L'\xD800'})),
              ElementsAre(u'a', u'\xD800'));
}

TEST_F(ClientValues, ArraysOfTextObjectsAndArrays) {
  EXPECT_THAT(
      (Sample::call_static<"texts", std::vector<std::string>>(java, std::vector<std::wstring>{L"a", L"\u00e4"})),
      ElementsAre("a", "\xC3\xA4"));
  EXPECT_THAT((Sample::call_static<"texts", std::vector<std::optional<std::u16string>>>(
                  java, std::vector<std::optional<std::string_view>>{"x", std::nullopt})),
              ElementsAre(u"x", std::nullopt));
  const std::vector<std::vector<int32_t>> rows = {{}, {1, 2}, {3}};
  EXPECT_EQ((Sample::create(java).call<"sum", int32_t>(rows)), 6);
  EXPECT_THAT((Sample::call_static<"triangle", std::vector<std::vector<int32_t>>>(java, 3)),
              ElementsAre(ElementsAre(), ElementsAre(1), ElementsAre(2, 2)));
  const auto mixed = Sample::call_static<"mixed", std::vector<qvjvm::object>>(java);
  ASSERT_EQ(mixed.size(), 3U);
  EXPECT_EQ(mixed[0].as<std::wstring>(), L"text");
  EXPECT_EQ(mixed[1].as<int32_t>(), 1);
  EXPECT_FALSE(mixed[2]);
}

TEST_F(ClientValues, ManyObjectsOfAnArrayAreHeldAtOnce) {
  // More than the 16 references that a thread may hold without asking.
  const auto array = qvjvm::array<qvjvm::object>::make(java, 500);
  for (int32_t i = 0; i < array.length(); ++i) array.set(i, java.new_string(std::to_wstring(i)));
  const auto all = array.to_vector();
  EXPECT_EQ(all.at(499).as<std::string>(), "499");
}

TEST_F(ClientValues, AnArrayIsReadAndWrittenInParts) {
  const auto array = qvjvm::array<int32_t>::make(java, 5);
  EXPECT_EQ(array.length(), 5);
  const std::vector<int32_t> from = {7, 8, 9};
  array.set_region(1, from);
  array.set(4, 10);
  EXPECT_THAT(array.to_vector(), ElementsAre(0, 7, 8, 9, 10));
  EXPECT_EQ(array.at(2), 8);
  std::vector<int32_t> into(2);
  array.get_region(3, into);
  EXPECT_THAT(into, ElementsAre(9, 10));
  {
    const auto critical = array.critical();
    EXPECT_THAT(critical.elements(), ElementsAre(0, 7, 8, 9, 10));
    critical.elements()[0] = 6;
  }
  EXPECT_EQ(array.at(0), 6);
  EXPECT_THAT(FailureOf([&] { array.get_region(4, into); }).message(), testing::HasSubstr(L"ArrayIndexOutOfBounds"));
  EXPECT_THAT(FailureOf([&] { (void)array.at(-1); }).message(), testing::HasSubstr(L"ArrayIndexOutOfBounds"));
  EXPECT_THAT(FailureOf([&] { (void)qvjvm::array<int8_t>::make(java, -1); }).message(),
              testing::HasSubstr(L"NegativeArraySize"));
  const auto texts = qvjvm::array<std::wstring>::make(java, std::vector<std::wstring>{L"a", L"b"});
  EXPECT_EQ(texts.at(1), L"b");
  texts.set(0, L"c");
  EXPECT_THAT(texts.to_vector(), ElementsAre(L"c", L"b"));
  EXPECT_THAT(FailureOf([&] { texts.set(0, qvjvm::boxed{1}); }).message(), testing::HasSubstr(L"ArrayStoreException"));
  const auto flags = qvjvm::array<bool>::make(java, std::vector<bool>{false, true});
  flags.set(0, true);
  EXPECT_TRUE(flags.at(0));
  EXPECT_EQ(qvjvm::array<int32_t>().length(), 0);
  EXPECT_EQ(FailureOf([] { (void)qvjvm::array<int32_t>().at(0); }).status(), QV_E_INVALIDARG);
}

TEST_F(ClientValues, ADirectBufferIsTheHostsOwnMemory) {
  std::vector<std::byte> memory(16);
  memory[0] = std::byte{41};
  const auto buffer = qvjvm::direct_buffer::over(java, memory);
  EXPECT_EQ((Sample::call_static<"first", int32_t>(java, buffer)), 42);
  EXPECT_EQ(memory[0], std::byte{42});
  EXPECT_EQ(buffer.memory().data(), memory.data());
  EXPECT_EQ(buffer.memory().size(), 16U);
  EXPECT_EQ((qvjvm::direct_buffer::over(java, {}).call<"capacity", int32_t>()), 0);
  const auto own = qvjvm::instance<"java/nio/ByteBuffer">::call_static<"allocateDirect", qvjvm::direct_buffer>(java, 8);
  EXPECT_EQ(own.memory().size(), 8U);
  const auto heap = qvjvm::instance<"java/nio/ByteBuffer">::call_static<"allocate", qvjvm::direct_buffer>(java, 8);
  EXPECT_TRUE(heap.memory().empty());
}

}  // namespace
}  // namespace qvtest
