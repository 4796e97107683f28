// Native methods of Java classes by functions of the host.
#include <stdexcept>

#include "tests/client/client_fixture.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct Natives : qvjvm::java_class<Natives, "client/Natives"> {
  using java_class::java_class;
};

int32_t Plus(const Natives& self, int32_t other) { return self.field<"number", int32_t>() + other; }
Natives Same(Natives self) { return self; }
std::string All(const Natives&, bool z, int8_t b, char16_t c, int16_t s, int64_t j, float f, double d,
                const std::wstring& text, const std::vector<int32_t>& numbers) {
  return std::to_string(z) + std::to_string(b) + std::to_string(int{c}) + std::to_string(s) + std::to_string(j) +
         std::to_string(f) + std::to_string(d) + std::to_string(text.size()) + std::to_string(numbers.at(1)) + " ";
}
double Half(double value) noexcept { return value / 2; }
bool Not(bool value) { return !value; }
// Where Java has an instance method.
Natives OfNobody() { return {}; }

// Gives results back, calls Java and hands failures on.
qvjvm::result<std::vector<std::string>> Split(const std::string& text,
                                              const qvjvm::instance<"java/lang/Runnable">& each) {
  const auto done = each.try_call<"run">();
  if (!done) return done.reason();
  return std::vector<std::string>{text.substr(0, 1), text.substr(1)};
}

struct Thrown : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Fail(int32_t way) {
  if (way == 0) throw Thrown("of the native method");
  (void)Java().create<"java/io/FileInputStream">("no such file");
}

void Register(const qvjvm::jvm& java) {
  qvjvm::register_natives<"client/Natives">(java, qvjvm::native<"plus", &Plus>, qvjvm::native<"same", &Same>,
                                            qvjvm::native<"all", &All>, qvjvm::static_native<"half", &Half>,
                                            qvjvm::static_native<"not", &Not>, qvjvm::static_native<"split", &Split>,
                                            qvjvm::static_native<"fail", &Fail>);
}

class ClientNatives : public ClientTest {
 protected:
  ClientNatives() { Register(java); }
};

TEST_F(ClientNatives, EveryTypeCrosses) {
  EXPECT_EQ((Natives::call_static<"callAll", std::string>(java)),
            "11 true 1-18364-210995116277760.500000-0.25000042 1.5falsetrue");
  EXPECT_EQ((Natives::call_static<"sum", int64_t>(java, 1000)), 499500);
}

TEST_F(ClientNatives, TheyCallJavaAndFailAsItsOwn) {
  int runs = 0;
  const auto count = qvjvm::implement<"java/lang/Runnable">(java, [&] { ++runs; });
  using Runnable = qvjvm::instance<"java/lang/Runnable">;
  using Texts = std::vector<std::string>;
  EXPECT_THAT((Natives::call_static<"split", Texts(std::string, Runnable)>(java, "abc", count)),
              ElementsAre("a", "bc"));
  EXPECT_EQ(runs, 1);
  const auto thrower = qvjvm::implement<"java/lang/Runnable">(java, [] { throw Thrown("from inside"); });
  EXPECT_THROW((Natives::call_static<"split", Texts(std::string, Runnable)>(java, "abc", thrower)), Thrown);
}

TEST_F(ClientNatives, FailuresCrossWhole) {
  EXPECT_EQ((Natives::call_static<"caught", std::string>(java, 0)), "qvjvm.HostException: of the native method true");
  EXPECT_THROW(Natives::call_static<"fail">(java, 0), Thrown);
  // A native method throws what it likes.
  EXPECT_EQ(Natives::try_call_static<"fail">(java, 1).reason().exception().class_name(),
            L"java.io.FileNotFoundException");
}

TEST_F(ClientNatives, MistakesAreTold) {
  const auto missing = qvjvm::try_register_natives<"client/Natives">(java, qvjvm::static_native<"noSuch", &Half>);
  EXPECT_THAT(missing.reason().message(), HasSubstr(L"noSuch"));
  const auto otherTypes = qvjvm::try_register_natives<"client/Natives">(java, qvjvm::static_native<"half", &Not>);
  EXPECT_THAT(otherTypes.reason().message(), HasSubstr(L"half"));
  const auto otherKind = qvjvm::try_register_natives<"client/Natives">(java, qvjvm::static_native<"same", &OfNobody>);
  EXPECT_THAT(otherKind.reason().message(), HasSubstr(L"same"));
  EXPECT_FALSE((qvjvm::try_register_natives<"no/such/Thing">(java, qvjvm::static_native<"half", &Half>)));
  EXPECT_FALSE(qvjvm::try_unregister_natives<"no/such/Thing">(java));
  Register(java);
}

TEST_F(ClientNatives, WhatIsTakenBackIsNotLinked) {
  EXPECT_FALSE((Natives::try_call_static<"ofNobody", int32_t>(java)));
  qvjvm::unregister_natives<"client/Natives">(java);
  EXPECT_EQ((Natives::try_call_static<"half", double>(java, 1.0).reason().exception().class_name()),
            L"java.lang.UnsatisfiedLinkError");
  Register(java);
  EXPECT_EQ((Natives::call_static<"half", double>(java, 1.0)), 0.5);
}

TEST_F(ClientNatives, AnyThreadCallsThem) {
  OnThreads(8, [&](int) { EXPECT_EQ((Natives::call_static<"sum", int64_t>(java, 2000)), 1999000); });
}

}  // namespace
}  // namespace qvtest
