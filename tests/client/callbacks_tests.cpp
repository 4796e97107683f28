// Java interfaces that the host implements: which functions answer what, values, what does not fit, failures both ways.
#include <list>
#include <thread>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using ClientCallbacks = ClientTest;
using Callbacks = qvjvm::instance<"client/Callbacks">;
using Runnable = qvjvm::instance<"java/lang/Runnable">;
using Callable = qvjvm::instance<"java/util/concurrent/Callable">;
using Comparator = qvjvm::instance<"java/util/Comparator">;
using IntOperator = qvjvm::instance<"java/util/function/IntUnaryOperator">;

TEST_F(ClientCallbacks, ALambdaImplementsTheOneMethod) {
  int runs = 0;
  const auto run = qvjvm::implement<"java/lang/Runnable">(java, [&] { ++runs; });
  run.call<"run">();
  EXPECT_EQ(runs, 1);
  const auto answer = qvjvm::implement<"java/util/concurrent/Callable">(java, [] { return L"called"; });
  EXPECT_EQ((answer.call<"call", qvjvm::object>().as<std::wstring>()), L"called");
  const auto add = qvjvm::implement<"java/util/function/IntBinaryOperator">(
      java, [](int32_t left, int32_t right) { return left + right; });
  EXPECT_EQ((add.call<"applyAsInt", int32_t>(3, 4)), 7);
  const auto test = qvjvm::implement<"java/util/function/Predicate">(
      java, [](const std::optional<std::string>& text) { return text == "yes"; });
  EXPECT_TRUE((test.call<"test", bool(qvjvm::object)>("yes")));
  EXPECT_FALSE((test.call<"test", bool(qvjvm::object)>(nullptr)));
}

TEST_F(ClientCallbacks, JavasOwnCodeCallsThem) {
  const auto words = qvjvm::new_list(java, std::vector<std::wstring>{L"ccc", L"a", L"bb"});
  const auto byLength =
      qvjvm::implement<"java/util/Comparator">(java, [](const std::wstring& left, const std::wstring& right) {
        return static_cast<int32_t>(left.size()) - static_cast<int32_t>(right.size());
      });
  words.call<"sort", void(Comparator)>(byLength);
  EXPECT_THAT(qvjvm::to_vector<std::wstring>(words), ElementsAre(L"a", L"bb", L"ccc"));
  words.call<"sort", void(Comparator)>(byLength.call<"reversed", Comparator>());
  EXPECT_THAT(qvjvm::to_vector<std::wstring>(words), ElementsAre(L"ccc", L"bb", L"a"));
  std::wstring all;
  words.call<"forEach", void(qvjvm::instance<"java/util/function/Consumer">)>(
      qvjvm::implement<"java/util/function/Consumer">(java, [&](const std::wstring& word) { all += word; }));
  EXPECT_EQ(all, L"cccbba");
}

TEST_F(ClientCallbacks, PrimitiveTypesComeAndGoInTheirBoxesWhereJavaHasObjects) {
  const auto next = qvjvm::implement<"java/util/function/Function">(java, [](int32_t value) { return value + 1; });
  EXPECT_EQ((next.call<"apply", qvjvm::object(qvjvm::object)>(qvjvm::boxed{41}).as<int32_t>()), 42);
  const auto half = qvjvm::implement<"java/util/function/Function">(java, [](double value) { return value / 2; });
  EXPECT_EQ((half.call<"apply", qvjvm::object(qvjvm::object)>(qvjvm::boxed{1.0}).as<double>()), 0.5);
  const auto result = next.try_call<"apply", qvjvm::object(qvjvm::object)>("no number");
  EXPECT_EQ(result.reason().exception().class_name(), L"java.lang.ClassCastException");
  EXPECT_EQ((next.try_call<"apply", qvjvm::object(qvjvm::object)>(nullptr).reason().exception().class_name()),
            L"java.lang.NullPointerException");
}

TEST_F(ClientCallbacks, EveryTypeCrosses) {
  const auto same = [](auto value) { return value; };
  const auto every = qvjvm::implement<"client/Callbacks$Every">(
      java,
      qvjvm::on<"all">([](bool z, int8_t b, char16_t c, int16_t s, int32_t i, int64_t j, float f, double d,
                          const std::string& text, const std::vector<int32_t>& numbers, const qvjvm::object& any) {
        return std::to_string(z) + " " + std::to_string(b) + " " + std::to_string(int{c}) + " " + std::to_string(s) +
               " " + std::to_string(i) + " " + std::to_string(j) + " " + std::to_string(f) + " " + std::to_string(d) +
               " " + text + " " + std::to_string(numbers.at(1)) + " " + (any ? "any" : "null") + " ";
      }),
      qvjvm::on<"ofBoolean", bool(bool)>(same), qvjvm::on<"ofByte", int8_t(int8_t)>(same),
      qvjvm::on<"ofChar", char16_t(char16_t)>(same), qvjvm::on<"ofShort", int16_t(int16_t)>(same),
      qvjvm::on<"ofLong", int64_t(int64_t)>(same), qvjvm::on<"ofFloat", float(float)>(same),
      qvjvm::on<"ofDouble", double(double)>(same),
      qvjvm::on<"ofTexts", std::vector<std::wstring>(std::vector<std::wstring>)>(same));
  EXPECT_EQ((Callbacks::call_static<"callEvery", std::string(qvjvm::instance<"client/Callbacks$Every">)>(java, every)),
            "1 -1 120 -2 -3 1099511627776 0.500000 -0.250000 text 2 null "
            "true-128\xEF\xBF\xBF-32768-9223372036854775808-1.54.9E-3242");
}

TEST_F(ClientCallbacks, ObjectsAreGivenBackAsTheyCame) {
  const qvjvm::object one = java.new_string("one");
  const qvjvm::global kept(one);
  const auto same = [&](const auto& function) {
    return function.template call<"apply", qvjvm::object(qvjvm::object)>(one).same_as(one);
  };
  EXPECT_TRUE(same(qvjvm::implement<"java/util/function/Function">(java, [](qvjvm::object it) { return it; })));
  EXPECT_TRUE(
      same(qvjvm::implement<"java/util/function/Function">(java, [](const qvjvm::object& it) { return it.copy(); })));
  EXPECT_TRUE(same(qvjvm::implement<"java/util/function/Function">(
      java, [&](const qvjvm::object&) { return kept.on_this_thread(); })));
  EXPECT_TRUE(same(qvjvm::implement<"java/util/function/Function">(
      java, [&](qvjvm::object it) { return std::optional<qvjvm::object>(std::move(it)); })));
  const auto none =
      qvjvm::implement<"java/util/function/Function">(java, [](const qvjvm::object&) { return qvjvm::object(); });
  EXPECT_FALSE((none.call<"apply", qvjvm::object(qvjvm::object)>(one)));
}

TEST_F(ClientCallbacks, FunctionsByNameAndSeveralInterfaces) {
  const std::vector<std::string> words = {"a", "b"};
  size_t at = 0;
  bool closed = false;
  const auto both = qvjvm::implement<"java/util/Iterator", "java/lang/AutoCloseable">(
      java, qvjvm::on<"hasNext">([&] { return at < words.size(); }), qvjvm::on<"next">([&] { return words[at++]; }),
      qvjvm::on<"close">([&] { closed = true; }));
  EXPECT_THAT(qvjvm::to_vector<std::string>(both), ElementsAre("a", "b"));
  both.as<qvjvm::instance<"java/lang/AutoCloseable">>().call<"close">();
  EXPECT_TRUE(closed);
}

struct Sorter {
  bool descending = false;
  int32_t compare(const std::string& left, const std::string& right) const {
    const int order = left.compare(right);
    return descending ? -order : order;
  }
  void turn() { descending = !descending; }
};

TEST_F(ClientCallbacks, MemberFunctionsOfAnObject) {
  const auto sorter = std::make_shared<Sorter>();
  const auto object = qvjvm::implement<"java/util/Comparator", "java/lang/Runnable">(
      java, qvjvm::on<"compare">(sorter, &Sorter::compare), qvjvm::on<"run">(sorter, &Sorter::turn));
  EXPECT_LT((object.call<"compare", int32_t(qvjvm::object, qvjvm::object)>("a", "b")), 0);
  object.as<Runnable>().call<"run">();
  EXPECT_GT((object.call<"compare", int32_t(qvjvm::object, qvjvm::object)>("a", "b")), 0);
  EXPECT_EQ(sorter.use_count(), 3);
}

TEST_F(ClientCallbacks, DefaultMethodsRunUnlessTheHostHasThem) {
  ExpectDefaultMethods(qvjvm::implement<"client/Callbacks$Defaults">(java, [](int32_t value) { return value; }));
  const auto other =
      qvjvm::implement<"client/Callbacks$Defaults">(java, qvjvm::on<"once">([](int32_t value) { return value; }),
                                                    qvjvm::on<"twice">([](int32_t value) { return value + 2; }));
  EXPECT_EQ((other.call<"twice", int32_t>(21)), 23);
}

TEST_F(ClientCallbacks, AnInterfaceThatOnlyItsPackageSees) {
  const auto hidden = qvjvm::implement<"client/Callbacks$Hidden">(java, [](int32_t value) { return value * 3; });
  EXPECT_EQ((Callbacks::call_static<"callHidden", int32_t(qvjvm::object, int32_t)>(java, hidden, 5)), 16);
}

TEST_F(ClientCallbacks, OverloadsAreChosenByTheirTypes) {
  const auto object = qvjvm::implement<"client/Callbacks$Overloads">(
      java, qvjvm::on<"take">([](const qvjvm::object&) { return "object"; }),
      qvjvm::on<"take">([](const std::string&) { return "text"; }), qvjvm::on<"take">([](int32_t) { return "int"; }));
  EXPECT_EQ((object.call<"take", std::string(qvjvm::object)>("x")), "object");
  EXPECT_EQ((object.call<"take", std::string>("x")), "text");
  EXPECT_EQ((object.call<"take", std::string>(1)), "int");
  const auto covariant = qvjvm::implement<"client/Callbacks$Covariant">(java, [] { return "both"; });
  EXPECT_EQ((covariant.call<"get", std::string>()), "both");
  EXPECT_EQ(
      (covariant.as<qvjvm::instance<"java/util/function/Supplier">>().call<"get", qvjvm::object>()).as<std::string>(),
      "both");
}

TEST_F(ClientCallbacks, EqualsHashCodeAndToStringAreByIdentityUnlessTheHostHasThem) {
  const auto run = qvjvm::implement<"java/lang/Runnable">(java, [] {});
  const auto other = qvjvm::implement<"java/lang/Runnable">(java, [] {});
  EXPECT_TRUE((run.call<"equals", bool(qvjvm::object)>(run)));
  EXPECT_FALSE((run.call<"equals", bool(qvjvm::object)>(other)));
  EXPECT_EQ((run.call<"hashCode", int32_t>()),
            (qvjvm::instance<"java/lang/System">::call_static<"identityHashCode", int32_t(qvjvm::object)>(java, run)));
  EXPECT_THAT((run.call<"toString", std::string>()), HasSubstr("$Proxy"));
  const auto named = qvjvm::implement<"java/lang/Runnable">(java, qvjvm::on<"run">([] {}),
                                                            qvjvm::on<"toString">([] { return "named"; }));
  EXPECT_EQ((named.call<"toString", std::string>()), "named");
}

TEST_F(ClientCallbacks, WhatDoesNotFitIsToldWhenTheObjectIsMade) {
  const auto why = [](const auto& made) {
    EXPECT_FALSE(made);
    EXPECT_EQ(made.reason().status(), QV_E_INVALIDARG);
    return made.reason().message();
  };
  const auto nothing = [] {};
  EXPECT_EQ(why(qvjvm::try_implement<"java/util/Comparator">(java, [](int64_t) { return 0; })),
            L"the host's function (long) -> int does not fit [public abstract int "
            L"java.util.Comparator.compare(java.lang.Object,java.lang.Object)]");
  EXPECT_THAT(why(qvjvm::try_implement<"java/util/concurrent/Callable">(java, nothing)),
              HasSubstr(L"() -> void does not fit"));
  EXPECT_THAT(why(qvjvm::try_implement<"java/lang/Runnable">(java, [] { return 1; })),
              HasSubstr(L"() -> int does not fit"));
  EXPECT_THAT(why(qvjvm::try_implement<"client/Callbacks$Defaults">(java, [](const qvjvm::object&) { return 1; })),
              HasSubstr(L"(java.lang.Object) -> int does not fit"));
  EXPECT_EQ(why(qvjvm::try_implement<"java/util/Iterator">(java, qvjvm::on<"next">([] { return 1; }))),
            L"nothing implements public abstract boolean java.util.Iterator.hasNext()");
  EXPECT_THAT(why(qvjvm::try_implement<"java/util/Iterator">(java, [] { return true; })),
              HasSubstr(L"one function is given for"));
  EXPECT_EQ(why(qvjvm::try_implement<"java/lang/Runnable">(java, qvjvm::on<"fly">(nothing))),
            L"[interface java.lang.Runnable] has no method fly");
  EXPECT_EQ(why(qvjvm::try_implement<"java/io/Serializable">(java, nothing)),
            L"[interface java.io.Serializable] has no method to implement");
  EXPECT_THAT(
      why(qvjvm::try_implement<"java/lang/Runnable">(java, qvjvm::on<"run">(nothing), qvjvm::on<"run">(nothing))),
      HasSubstr(L"two functions implement"));
  EXPECT_THAT(why(qvjvm::try_implement<"client/Callbacks$Overloads">(
                  java, qvjvm::on<"take">([](const qvjvm::instance<"java/lang/CharSequence">&) { return "?"; }))),
              HasSubstr(L"fits"));
  EXPECT_THAT(why(qvjvm::try_implement<"client/Callbacks$NoInterface">(java, qvjvm::on<"hashCode">([] { return 1; }))),
              HasSubstr(L"is not an interface"));
  const auto missing = qvjvm::try_implement<"no/such/Interface">(java, nothing);
  EXPECT_THAT(missing.reason().message(), HasSubstr(L"no/such/Interface"));
  EXPECT_EQ(qvjvm::try_implement<"java/lang/Runnable">(qvjvm::jvm(), nothing).reason().status(), QV_E_INVALIDARG);
}

TEST_F(ClientCallbacks, InterfacesComeThroughTheLoaderOfTheJvmHandle) {
  const auto file = java.create<"java/io/File">(ProgramFolder() + L"\\clienttests.jar");
  const auto url =
      file.call<"toURI", qvjvm::instance<"java/net/URI">>().call<"toURL", qvjvm::instance<"java/net/URL">>();
  const auto some = qvjvm::array<qvjvm::instance<"java/net/URL">>::make(java, 1);
  some.set(0, url);
  const auto other =
      java.with_loader(qvjvm::instance<"java/net/URLClassLoader">::create_as<void(
                           qvjvm::array<qvjvm::instance<"java/net/URL">>, qvjvm::instance<"java/lang/ClassLoader">)>(
          java, some, nullptr));
  const auto there = qvjvm::implement<"client/Callbacks$Defaults">(other, [](int32_t value) { return value; });
  EXPECT_EQ((there.call<"twice", int32_t>(4)), 8);
  EXPECT_FALSE(there.is_instance_of(java.find_class("client/Callbacks$Defaults")));
  EXPECT_TRUE(there.is_instance_of(other.find_class("client/Callbacks$Defaults")));
}

// ---- failures ----

struct Special : std::runtime_error {
  explicit Special(int given) : std::runtime_error("special \xC3\xBC"), number(given) {}
  int number;
};

TEST_F(ClientCallbacks, ACppExceptionComesBackAsItself) {
  const std::exception* thrown = nullptr;
  const auto fail = qvjvm::implement<"java/lang/Runnable">(java, [&] {
    try {
      throw Special(7);
    } catch (const Special& special) {
      thrown = &special;
      throw;
    }
  });
  try {
    fail.call<"run">();
    FAIL() << "it succeeded";
  } catch (const Special& special) {
    EXPECT_EQ(special.number, 7);
    EXPECT_EQ(&special, thrown);
  }
}

TEST_F(ClientCallbacks, JavaSeesItAsAnUncheckedExceptionWithItsText) {
  const auto caught = [&](const auto& run) {
    return Callbacks::call_static<"caught", std::wstring(Runnable)>(java, run);
  };
  EXPECT_EQ(caught(qvjvm::implement<"java/lang/Runnable">(java, [] { throw Special(1); })),
            L"qvjvm.HostException: special \u00fc true");
  EXPECT_EQ(caught(qvjvm::implement<"java/lang/Runnable">(java, [] { throw 5; })),
            L"qvjvm.HostException: a C++ exception that is no std::exception true");
  EXPECT_EQ(caught(qvjvm::implement<"java/lang/Runnable">(
                java, [] { throw qvjvm::error(qvjvm::failure(QV_E_FAIL, L"of the host")); })),
            L"qvjvm.HostException: of the host true");
}

TEST_F(ClientCallbacks, TheResultStyleCarriesItAndThrowsItAgain) {
  const auto fail = qvjvm::implement<"java/lang/Runnable">(java, [] { throw Special(8); });
  const auto failed = fail.try_call<"run">();
  ASSERT_FALSE(failed);
  EXPECT_TRUE(failed.reason().is_java());
  EXPECT_EQ(failed.reason().message(), L"qvjvm.HostException: special \u00fc");
  EXPECT_EQ(failed.reason().exception().class_name(), L"qvjvm.HostException");
  EXPECT_TRUE(failed.reason().host_exception());
  EXPECT_THROW(failed.reason().rethrow(), Special);
  EXPECT_THROW(failed.value(), Special);
  const qvjvm::failure kept = failed.reason();
  std::thread([&] { EXPECT_THROW(kept.rethrow(), Special); }).join();
  EXPECT_FALSE(Callbacks::try_call_static<"noSuch">(java).reason().host_exception());
}

TEST_F(ClientCallbacks, ItGoesThroughJavaAndTheHostSeveralTimes) {
  const qvjvm::global inner(qvjvm::implement<"java/lang/Runnable">(java, [] { throw Special(9); }));
  const qvjvm::global middle(
      qvjvm::implement<"java/lang/Runnable">(java, [&] { inner.on_this_thread<Runnable>().call<"run">(); }));
  const auto outer = qvjvm::implement<"java/lang/Runnable">(java, [&] {
    const auto failed = middle.on_this_thread<Runnable>().try_call<"run">();
    if (!failed) failed.reason().rethrow();
  });
  EXPECT_THROW(outer.call<"run">(), Special);
}

TEST_F(ClientCallbacks, AJavaErrorIsItsOwnThrowable) {
  std::optional<qvjvm::java_error> kept;
  const auto fail = qvjvm::implement<"java/util/concurrent/Callable">(java, [&]() -> int32_t {
    try {
      return java.call_static<"java/lang/Integer", "parseInt", int32_t>("seventeen");
    } catch (const qvjvm::java_error& error) {
      kept = error;
      throw;
    }
  });
  const auto thrown = Callbacks::call_static<"thrown", qvjvm::throwable(Callable)>(java, fail);
  EXPECT_EQ(thrown.class_name(), L"java.lang.NumberFormatException");
  EXPECT_TRUE(thrown.same_as(kept->exception()));
  // One that is neither unchecked nor declared is wrapped by Java.
  const auto checked = qvjvm::implement<"java/lang/Runnable">(
      java, [&] { (void)java.create<"java/io/FileInputStream">("no such file"); });
  const auto wrapped = checked.try_call<"run">();
  EXPECT_EQ(wrapped.reason().exception().class_name(), L"java.lang.reflect.UndeclaredThrowableException");
  EXPECT_EQ(wrapped.reason().exception().cause().class_name(), L"java.io.FileNotFoundException");
}

TEST_F(ClientCallbacks, AFailureThatIsHandedBack) {
  const auto own = qvjvm::implement<"java/util/concurrent/Callable">(
      java, []() -> qvjvm::result<int32_t> { return qvjvm::failure(QV_E_INVALIDARG, L"handed back"); });
  const auto failed = own.try_call<"call", qvjvm::object>();
  EXPECT_EQ(failed.reason().message(), L"qvjvm.HostException: handed back");
  EXPECT_EQ(failed.reason().status(), QV_E_INVALIDARG);
  try {
    (void)own.call<"call", qvjvm::object>();
    FAIL() << "it succeeded";
  } catch (const qvjvm::error& error) {
    EXPECT_EQ(error.message(), L"handed back");
    EXPECT_EQ(error.status(), QV_E_INVALIDARG);
  }
  const auto javas = qvjvm::implement<"java/util/concurrent/Callable">(java, [&]() -> qvjvm::result<int32_t> {
    return java.try_call_static<"java/lang/Integer", "parseInt", int32_t>("seventeen");
  });
  EXPECT_EQ((javas.try_call<"call", qvjvm::object>().reason().exception().class_name()),
            L"java.lang.NumberFormatException");
  const auto good = qvjvm::implement<"java/util/concurrent/Callable">(
      java, []() -> qvjvm::result<std::string> { return std::string("good"); });
  EXPECT_EQ((good.call<"call", qvjvm::object>().as<std::string>()), "good");
}

TEST_F(ClientCallbacks, InACauseItIsFound) {
  const auto fail = qvjvm::implement<"java/lang/Runnable">(java, [] { throw Special(3); });
  const auto failed = Callbacks::try_call_static<"inOtherThread", void(Runnable)>(java, fail);
  ASSERT_FALSE(failed);
  EXPECT_EQ(failed.reason().exception().class_name(), L"java.util.concurrent.ExecutionException");
  EXPECT_FALSE(failed.reason().host_exception());
  const auto cause = failed.reason().exception().cause().host_exception();
  ASSERT_TRUE(cause);
  EXPECT_THROW(std::rethrow_exception(cause), Special);
}

// ---- threads ----

TEST_F(ClientCallbacks, JavasThreadsCallAndCallAgain) {
  std::atomic<int> calls = 0;
  const auto twice = qvjvm::implement<"java/util/function/IntUnaryOperator">(java, [&](int32_t value) {
    ++calls;
    return value * 2;
  });
  EXPECT_EQ((Callbacks::call_static<"sumOfThreads", int64_t(IntOperator, int32_t, int32_t)>(java, twice, 8, 1000)),
            8 * 999000);
  EXPECT_EQ(calls, 8000);
  qvjvm::global itself;
  const auto nested = qvjvm::implement<"java/util/function/IntUnaryOperator">(java, [&](int32_t depth) {
    return depth == 0 ? 0 : 1 + itself.on_this_thread<IntOperator>().call<"applyAsInt", int32_t>(depth - 1);
  });
  itself = qvjvm::global(nested);
  EXPECT_EQ((nested.call<"applyAsInt", int32_t>(40)), 40);
}

TEST_F(ClientCallbacks, VirtualThreadsCallThem) {
  using version = qvjvm::instance<"java/lang/Runtime$Version">;
  const bool java21 =
      qvjvm::instance<"java/lang/Runtime">::call_static<"version", version>(java).call<"feature", int32_t>() >= 21;
  std::atomic<int> calls = 0;
  const auto work = qvjvm::implement<"java/lang/Runnable">(java, [&] {
    if (java.new_string(L"a").call<std::wstring>("toString") == L"a") ++calls;
    java.call_static<"java/lang/Thread", "sleep">(int64_t{1});  // with the host's frames below it
  });
  EXPECT_EQ((Callbacks::call_static<"inVirtualThreads", int32_t(Runnable, int32_t)>(java, work, 200)),
            java21 ? 200 : 0);
  EXPECT_EQ(calls, java21 ? 200 : 0);
  const auto fail = qvjvm::implement<"java/lang/Runnable">(java, [] { throw Special(4); });
  const auto failed = Callbacks::try_call_static<"inVirtualThreads", int32_t(Runnable, int32_t)>(java, fail, 1);
  ASSERT_EQ(static_cast<bool>(failed), !java21);
  if (failed) return;
  EXPECT_THROW(std::rethrow_exception(failed.reason().exception().cause().host_exception()), Special);
}

// Java and the host's functions fill the stack together: on Java's threads and on the host's.
TEST_F(ClientCallbacks, TooDeepARecursionIsJavasStackOverflowError) {
  qvjvm::global itself;
  std::atomic<int32_t> deepest = 0;
  const auto deeper = qvjvm::implement<"java/util/function/IntUnaryOperator">(java, [&](int32_t depth) {
    deepest = std::max(deepest.load(), depth);
    return itself.on_this_thread<IntOperator>().call<"applyAsInt", int32_t>(depth + 1);
  });
  itself = qvjvm::global(deeper);
  const auto overflow = [&] {
    deepest = 0;
    const auto failed = itself.on_this_thread<IntOperator>().try_call<"applyAsInt", int32_t>(0);
    EXPECT_EQ(failed.reason().exception().class_name(), L"java.lang.StackOverflowError");
    EXPECT_GT(deepest, 100);
  };
  for (int i = 0; i < 3; ++i) {
    overflow();
    std::thread(overflow).join();
    Callbacks::call_static<"inOtherThread", void(Runnable)>(java,
                                                            qvjvm::implement<"java/lang/Runnable">(java, overflow));
  }
  // Every call has left: nothing is left inside.
  const qvjvm::host_handle handle = deeper.handle();
  handle.revoke();
  EXPECT_TRUE(handle.wait(std::chrono::seconds(60)));
}

TEST_F(ClientCallbacks, AFunctionFindsTheClassesOfTheClassPath) {
  qvjvm::implement<"java/lang/Runnable">(java, [&] {
    const qvjvm::jvm fresh = qvjvm::jvm::share(java.get());  // has looked up nothing
    EXPECT_EQ((qvjvm::instance<"client/Sample">::create(fresh, 7).field<"ofInt", int32_t>()), 7);
  }).call<"run">();
}

TEST_F(ClientCallbacks, AFunctionMayUseJavaAndStartThreads) {
  std::wstring text;
  const auto work = qvjvm::implement<"java/lang/Runnable">(java, [&] {
    std::thread([&] { text = java.create<"java/lang/StringBuilder">(L"abc").call<"toString", std::wstring>(); }).join();
    text += java.new_string(L"def").call<std::wstring>("toString");
  });
  Callbacks::call_static<"inOtherThread", void(Runnable)>(java, work);
  EXPECT_EQ(text, L"abcdef");
}

}  // namespace
}  // namespace qvtest
