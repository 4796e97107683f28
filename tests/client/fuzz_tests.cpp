// Random signatures, names and texts: whatever comes, the client answers, and what it lets through is what Java takes.
// The seed is in the failure's trace.
#include <algorithm>

#include "tests/client/client_fixture.h"
#include "tests/support/random.h"

namespace qvtest {
namespace {

using Sample = qvjvm::instance<"client/Sample">;
using ClientFuzz = ClientTest;

std::string RandomSignature(Random& random) {
  static const char* const pieces[] = {"(",
                                       ")",
                                       "V",
                                       "Z",
                                       "B",
                                       "C",
                                       "S",
                                       "I",
                                       "J",
                                       "F",
                                       "D",
                                       "[",
                                       "L",
                                       ";",
                                       "/",
                                       "X",
                                       "Ljava/lang/Object;",
                                       "Ljava/lang/String;",
                                       "Lno/such/Type;",
                                       "L;",
                                       "[I",
                                       "[[",
                                       ""};
  std::string text = random.Below(4) == 0 ? "" : "(";
  for (size_t i = random.Below(5); i > 0; --i) text += random.OneOf(pieces);
  if (random.Below(4) != 0) text += ")";
  text += random.OneOf(pieces);
  return text;
}

// What Java's own reader of signatures says; a class that is not there ends its reading before it has seen all.
enum class Verdict { good, bad, no_such_class };
Verdict VerdictOfJava(const qvjvm::jvm& java, const std::string& signature) {
  using MethodType = qvjvm::instance<"java/lang/invoke/MethodType">;
  using Loader = qvjvm::instance<"java/lang/ClassLoader">;
  const auto type = MethodType::try_call_static<"fromMethodDescriptorString", MethodType>(java, signature, Loader());
  if (type) return Verdict::good;
  const bool missing = type.reason().exception().class_name() == L"java.lang.TypeNotPresentException";
  return missing ? Verdict::no_such_class : Verdict::bad;
}

TEST_F(ClientFuzz, SignaturesAreTakenApartAsJavaDoes) {
  Random random(20260101);
  const auto sample = Sample::create(java);
  int well_formed = 0;
  for (int i = 0; i < 4000; ++i) {
    const std::string text = RandomSignature(random);
    SCOPED_TRACE(text);
    const auto compared = qvjvm::detail::compare_types<void>(text);
    // A mistake of another kind may end the comparison before the rest is read.
    if (compared.found == qvjvm::detail::mistake::none) {
      EXPECT_NE(VerdictOfJava(java, text), Verdict::bad);
      ++well_formed;
    }
    if (compared.found == qvjvm::detail::mistake::malformed) {
      EXPECT_NE(VerdictOfJava(java, text), Verdict::good);
    }
    EXPECT_FALSE(sample.try_call_as("fly", qvjvm::signature(text.c_str())));
    EXPECT_FALSE(sample.try_call_as<int64_t>("fly", qvjvm::signature(text.c_str()), 1, L"x"));
  }
  EXPECT_GT(well_formed, 50);
}

std::string RandomName(Random& random) {
  static const char* const pieces[] = {"java", "/", ".",        "lang", "String", "$",     "[",
                                       ";",    " ", "\xC3\xA4", "I",    "L",      "<init>"};
  std::string text;
  for (size_t i = random.Below(7); i > 0; --i) text += random.OneOf(pieces);
  return text;
}

TEST_F(ClientFuzz, NamesAreFoundOrNot) {
  Random random(20260102);
  const auto sample = Sample::create(java);
  const auto cls = sample.get_class();
  for (int i = 0; i < 2000; ++i) {
    const std::string name = RandomName(random);
    SCOPED_TRACE(name);
    const auto found = java.try_find_class(name.c_str());
    EXPECT_TRUE(found ? !found.value().call<std::wstring>("getName").empty() : found.reason().status() < 0);
    EXPECT_FALSE(sample.try_call<int32_t>(name.c_str()));
    EXPECT_FALSE(sample.try_field<int32_t>(name.c_str()));
    EXPECT_FALSE(cls.try_call_static<int64_t>(name.c_str(), 1));
    EXPECT_FALSE(cls.try_find_method<void(int64_t)>(name.c_str()));
  }
}

// How many U+FFFD stand for one wrong sequence is a matter of taste: Java has one for an encoded surrogate, others
// three.
std::wstring WithoutRepeatedReplacements(std::wstring text) {
  const auto repeated = [](wchar_t left, wchar_t right) { return left == L'\xFFFD' && right == L'\xFFFD'; };
  text.erase(std::unique(text.begin(), text.end(), repeated), text.end());
  return text;
}

TEST_F(ClientFuzz, TextsComeBackAsTheyWere) {
  Random random(20260103);
  const auto sample = Sample::create(java);
  static const wchar_t units[] = {L'\0',     L'a',      L'\x7F',   L'\x80',   L'\x7FF',  L'\x800',
                                  L'\xD800', L'\xDBFF', L'\xDC00', L'\xDFFF', L'\xFFFD', L'\xFFFF'};
  static const unsigned char bytes[] = {0x00, 0x41, 0x7F, 0x80, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0, 0xED,
                                        0xEF, 0xF0, 0xF4, 0xF5, 0xFF, 0x90, 0xA0, 0x9F, 0x8F};
  for (int i = 0; i < 2000; ++i) {
    std::wstring wide;
    std::string narrow;
    for (size_t n = random.Below(12); n > 0; --n) {
      wide.push_back(random.OneOf(units));
      narrow.push_back(static_cast<char>(random.OneOf(bytes)));
    }
    EXPECT_EQ((sample.call<"same", qvjvm::object(qvjvm::object)>(wide).as<std::wstring>()), wide);
    // Java's own decoder is the witness for bytes that are no UTF-8.
    const std::vector<uint8_t> raw(narrow.begin(), narrow.end());
    const auto decoded = java.create<"java/lang/String">(raw, "UTF-8");
    const auto came = sample.call<"same", qvjvm::object(qvjvm::object)>(narrow).as<std::wstring>();
    EXPECT_EQ(WithoutRepeatedReplacements(came), WithoutRepeatedReplacements(decoded.as<std::wstring>()));
    const std::string back = decoded.as<std::string>();
    EXPECT_EQ(qvjvm::detail::to_utf16(back), decoded.as<std::wstring>());
  }
}

}  // namespace
}  // namespace qvtest
