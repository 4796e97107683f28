// Strings and arrays both ways: empty and null ones, surrogates with and without their partner, embedded nulls,
// a hundred thousand units, and several MiB of bytes through compression in Java.
// Java's answer about a string stands beside what comes back, so that two wrongs do not cancel out.
#include <array>
#include <cstring>
#include <random>

#include "tests/real/running_vm.h"

namespace qvtest {
namespace {

constexpr char kTextToText[] = "(Ljava/lang/String;)Ljava/lang/String;";
constexpr size_t kLongText = 100000;
constexpr wchar_t kPattern[] = L"text \xD834\xDD1E \x00FC \x6F22 ";

class Texts : public RunningVmTest {
 protected:
  std::wstring UnitsInJava(qv_jstring string) {
    return TextOf(Vm(), m_class.CallStatic("unitsOf", kTextToText, string));
  }

  std::wstring ValueOf(qv_jstring string) { return Ask(Vm(), &IQV_JavaVM::GetStringValue, string); }

  const JavaClass m_class{Vm(), "qvtest/Texts"};
};

TEST_F(Texts, GoThereAndBackUnitForUnit) {
  struct Row {
    const char* name;
    std::wstring text;
    std::wstring units;
  };
  const Row rows[] = {
      {"empty", L"", L""},
      {"one letter", L"a", L"0061"},
      {"umlaut and ideograph", L"\x00FC\x6F22", L"00FC6F22"},
      {"surrogate pair", L"\xD834\xDD1E", L"D834DD1E"},
      {"high surrogate alone", L"\xD834x", L"D8340078"},
      {"low surrogate alone", L"x\xDD1E", L"0078DD1E"},
      {"largest unit", L"\xFFFF", L"FFFF"},
      {"byte order mark", L"\xFEFF", L"FEFF"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Local string = String(row.text);
    EXPECT_EQ(UnitsInJava(string), row.units);
    EXPECT_EQ(TextOf(Vm(), string), row.text);
    EXPECT_EQ(ValueOf(string), row.text);
  }
  const Local string = m_class.CallStatic("withEmbeddedNull", "()Ljava/lang/String;");
  EXPECT_EQ(TextOf(Vm(), string), std::wstring(L"before\0after", 12));
  EXPECT_EQ(ValueOf(string), L"before") << "a null ends the host's string alone";
}

TEST_F(Texts, AHundredThousandUnits) {
  std::wstring text;
  while (text.size() < kLongText) text += kPattern;
  text.resize(kLongText);
  const Local string = String(text);
  int32_t same = 0;
  EXPECT_TRUE(Ok(Vm(), Vm()->CallStaticBooleanMethod(
                           &same, m_class, "isOfLength", "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)Z",
                           string.Get(), String(kPattern).Get(), String(std::to_wstring(kLongText)).Get())));
  EXPECT_EQ(same, 1) << "Java received another text";
  const Local made = m_class.CallStatic("ofLength", "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;",
                                        String(kPattern), String(std::to_wstring(kLongText)));
  EXPECT_TRUE(TextOf(Vm(), made) == text);
  EXPECT_TRUE(ValueOf(made) == text);
}

TEST_F(Texts, AnEmptyStringGivesAnEmptyBufferAndANullOneFailsWithoutHarm) {
  std::array<wchar_t, 3> buffer{L'x', L'y', L'z'};
  int32_t number = 3;
  EXPECT_TRUE(Ok(Vm(), Vm()->GetStringChars(buffer.data(), &number, String(L""))));
  EXPECT_EQ(buffer, (std::array<wchar_t, 3>{L'\0', L'y', L'z'}));
  EXPECT_TRUE(Ok(Vm(), Vm()->GetStringLength(&number, String(L""))));
  EXPECT_EQ(number, 0);
  buffer[0] = L'x';
  IQvString* value = nullptr;

  EXPECT_EQ(Vm()->GetStringLength(&number, nullptr), QV_E_FAIL);
  EXPECT_EQ(Vm()->GetStringChars(buffer.data(), &number, nullptr), QV_E_FAIL);
  EXPECT_EQ(buffer[0], L'\0');
  EXPECT_EQ(Vm()->GetStringValue(&value, nullptr), QV_E_FAIL);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(RecordOf(Vm()), std::nullopt);
}

TEST_F(Texts, StringArrayStartsWithEmptyStrings) {
  const JavaClass arrays(Vm(), "java/util/Arrays");
  Local array(Vm());
  ASSERT_TRUE(Ok(Vm(), Vm()->NewStringArray(array.Out(), 3)));
  const auto toText = [&] {
    return TextOf(Vm(), arrays.CallStatic("toString", "([Ljava/lang/Object;)Ljava/lang/String;", array));
  };
  EXPECT_EQ(toText(), L"[, , ]");
  EXPECT_TRUE(Ok(Vm(), Vm()->SetObjectArrayElement(array, 0, String(L"first"))));
  EXPECT_TRUE(Ok(Vm(), Vm()->SetObjectArrayElement(array, 2, nullptr)));
  EXPECT_EQ(toText(), L"[first, , null]");
  ASSERT_TRUE(Ok(Vm(), Vm()->NewStringArray(array.Out(), 0)));
  EXPECT_EQ(toText(), L"[]");
}

TEST_F(Texts, ArrayElementsAreCheckedByJava) {
  Local array(Vm());
  ASSERT_TRUE(Ok(Vm(), Vm()->NewStringArray(array.Out(), 1)));
  for (const int32_t outside : {1, -1}) {
    EXPECT_TRUE(FailsWith(Vm(), Vm()->SetObjectArrayElement(array, outside, nullptr),
                          L"java.lang.ArrayIndexOutOfBoundsException", QV_CODE_CALL_FAILED));
  }
  EXPECT_TRUE(FailsWith(Vm(), Vm()->SetObjectArrayElement(array, 0, Find("qvtest/Texts")),
                        L"java.lang.ArrayStoreException", QV_CODE_CALL_FAILED));
  EXPECT_TRUE(Ok(Vm(), Vm()->SetObjectArrayElement(array, 0, String(L"fits"))));
}

TEST_F(Texts, ByteArraysOfNoAndOfNegativeLength) {
  Local array(Vm());
  ASSERT_TRUE(Ok(Vm(), Vm()->NewByteArray(array.Out(), 0)));
  EXPECT_NE(array.Get(), nullptr);
  char byte = 'x';
  EXPECT_TRUE(Ok(Vm(), Vm()->GetByteArrayData(array, 0, 0, &byte)));
  EXPECT_TRUE(Ok(Vm(), Vm()->SetByteArrayData(array, 0, &byte, 0)));
  EXPECT_TRUE(Ok(Vm(), Vm()->GetByteArrayData(array, 0, 0, nullptr)));
  EXPECT_EQ(byte, 'x');
  EXPECT_TRUE(FailsWith(Vm(), Vm()->NewByteArray(array.Out(), -1), L"java.lang.NegativeArraySizeException",
                        QV_CODE_CALL_FAILED));
  EXPECT_EQ(array.Get(), nullptr);
}

TEST_F(Texts, BytesAreCopiedFromElementZeroWhateverTheIgnoredArgument) {
  Local array(Vm());
  ASSERT_TRUE(Ok(Vm(), Vm()->NewByteArray(array.Out(), 4)));
  EXPECT_TRUE(Ok(Vm(), Vm()->SetByteArrayData(array, 3, "\x01\x80", 2)));
  std::array<uint8_t, 5> bytes{9, 9, 9, 9, 9};
  EXPECT_TRUE(Ok(Vm(), Vm()->GetByteArrayData(array, 2, 4, bytes.data())));
  EXPECT_EQ(bytes, (std::array<uint8_t, 5>{0x01, 0x80, 0, 0, 9}));
  EXPECT_TRUE(Ok(Vm(), Vm()->GetByteArrayData(array, 0, -1, bytes.data())));
}

// Half of it compresses well and half does not.
std::vector<char> MixedBytes(size_t size) {
  std::mt19937_64 random(20240229);
  std::vector<char> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i / 4096) % 2 == 0 ? i / 64 : random());
  return bytes;
}

class Compression : public Texts {
 protected:
  std::vector<char> Take(const char* streamClassName, qv_jobject stream) {
    const JavaClass streamClass(Vm(), streamClassName);
    const int32_t size = streamClass.CallInt(stream, "size");
    const Local array = streamClass.Call(stream, "toByteArray", "()[B");
    std::vector<char> bytes(static_cast<size_t>(size));
    EXPECT_TRUE(Ok(Vm(), Vm()->GetByteArrayData(array, 0, size, bytes.data())));
    return bytes;
  }
  Local ToArray(const std::vector<char>& bytes) {
    Local array(Vm());
    EXPECT_TRUE(Ok(Vm(), Vm()->NewByteArray(array.Out(), static_cast<int32_t>(bytes.size()))));
    EXPECT_TRUE(Ok(Vm(), Vm()->SetByteArrayData(array, 0, bytes.data(), static_cast<int32_t>(bytes.size()))));
    return array;
  }
  Local StreamOver(const char* className, const char* signature, qv_jobject source) {
    const Local cls = Find(className);
    Local stream(Vm());
    EXPECT_TRUE(Ok(Vm(), Vm()->NewObject(stream.Out(), cls, signature, source)));
    return stream;
  }
  // Everything read from a stream of this class over a byte array. A stream that is written to would have the library
  // take the whole array for every few bytes, and -Xcheck:jni copies it each time.
  std::vector<char> Through(const char* filterClassName, const std::vector<char>& bytes) {
    const char* const target = "java/io/ByteArrayOutputStream";
    const Local in = StreamOver("java/io/ByteArrayInputStream", "([B)", ToArray(bytes).Get());
    const Local filter = StreamOver(filterClassName, "(Ljava/io/InputStream;)", in.Get());
    const Local out = NewDefaultObject(Vm(), Find(target));
    int64_t moved = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallLongMethod(&moved, Find(filterClassName), filter, "transferTo",
                                              "(Ljava/io/OutputStream;)J", out.Get())));
    std::vector<char> taken = Take(target, out);
    EXPECT_EQ(moved, static_cast<int64_t>(taken.size()));
    return taken;
  }
};

TEST_F(Compression, SeveralMebibytesComeBackByteForByte) {
  const std::vector<char> original = MixedBytes(5 * 1024 * 1024 + 1);
  const std::vector<char> packed = Through("java/util/zip/DeflaterInputStream", original);
  EXPECT_LT(packed.size(), original.size() * 3 / 4);
  EXPECT_GT(packed.size(), original.size() / 4);
  const std::vector<char> unpacked = Through("java/util/zip/InflaterInputStream", packed);
  ASSERT_EQ(unpacked.size(), original.size());
  EXPECT_TRUE(unpacked == original);
}

}  // namespace
}  // namespace qvtest
