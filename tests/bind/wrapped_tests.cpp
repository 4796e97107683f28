// Calls through headers that qvjvm-bind wrote for java/wrapped, whose classes are the awkward ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "java/util/ArrayList.hpp"
#include "tests/support/child_process.h"
#include "tests/support/temp_folder.h"
#include "wrapped/BelowIncomplete.hpp"
#include "wrapped/Color.hpp"
#include "wrapped/Fields.hpp"
#include "wrapped/Generic.hpp"
#include "wrapped/MoreOverloads.hpp"
#include "wrapped/Named.hpp"
#include "wrapped/Names.hpp"
#include "wrapped/Outer.hpp"
#include "wrapped/Outer_Bound.hpp"
#include "wrapped/Outer_Bound_.hpp"
#include "wrapped/Outer_Inner.hpp"
#include "wrapped/Outer_Inner_Deepest.hpp"
#include "wrapped/Outer_taken.hpp"
#include "wrapped/Shown.hpp"
#include "wrapped/Unfinished.hpp"
#include "wrapped/Variable.hpp"
#include "wrapped/delete_/Class.hpp"

namespace qvtest {
namespace {

using namespace wrapped;

class Wrapped : public testing::Test {
 protected:
  static const qvjvm::jvm& Java() {
    static const qvjvm::jvm java = qvjvm::jvm::start((ProgramFolder() + L"\\wrapped.jar").c_str());
    return java;
  }
  const qvjvm::jvm& java = Java();
};

// ---- what fits a parameter ----

template <class T, class Parameter>
constexpr bool fits = qvjvm::argument<T, Parameter>;

static_assert(fits<bool, bool> && !fits<int32_t, bool> && !fits<bool, int32_t> && !fits<const char*, bool>);
static_assert(fits<int8_t, int32_t> && fits<wchar_t, int32_t> && !fits<int64_t, int32_t> && !fits<double, float>);
static_assert(fits<long, int32_t> && fits<float, double> && !fits<uint32_t, int64_t> && !fits<char, int32_t>);
static_assert(!fits<int32_t, java::lang::Object> && fits<qvjvm::boxed<int32_t>, java::lang::Object>);
static_assert(fits<char[3], std::wstring> && fits<std::string_view, std::wstring> && !fits<int32_t, std::wstring>);
static_assert(fits<std::nullptr_t, std::wstring> && !fits<std::nullptr_t, int32_t>);
static_assert(fits<Shown, Named> && fits<Shown, Hidden> && fits<Shown, java::lang::Object> && !fits<Named, Shown>);
static_assert(fits<qvjvm::typed_null<Shown>, Named> && !fits<qvjvm::typed_null<Named>, Shown>);
static_assert(fits<qvjvm::object, java::lang::Object> && !fits<qvjvm::object, Named>);
static_assert(fits<qvjvm::instance<"wrapped/Named">, Named> && !fits<qvjvm::instance<"wrapped/Shown">, Named>);
static_assert(fits<qvjvm::array<Shown>, qvjvm::array<Named>> && !fits<qvjvm::array<Named>, qvjvm::array<Shown>>);
static_assert(fits<std::vector<Shown>, qvjvm::array<java::lang::Object>> && !fits<Shown, qvjvm::array<Shown>>);
static_assert(fits<std::span<const int32_t>, std::vector<int32_t>> && fits<std::vector<uint8_t>, std::vector<int8_t>>);
static_assert(!fits<std::vector<int64_t>, std::vector<int32_t>> && !fits<qvjvm::jvm, java::lang::Object>);

template <class Class, class... Arguments>
concept Creatable = requires(const qvjvm::jvm& java, const Arguments&... values) {
  Class::create(java, values...);
};
static_assert(Creatable<Shown, int32_t> && !Creatable<Shown> && !Creatable<Shown, const char*>);
static_assert(!Creatable<Unfinished> && !Creatable<Named> && !Creatable<Color>);

// ---- calls ----

TEST_F(Wrapped, OverloadsAreChosenAsJavaChoosesThem) {
  const auto all = MoreOverloads::create(java);
  EXPECT_EQ(all.one(true), L"boolean");
  EXPECT_EQ(all.one(L'x'), L"char");
  EXPECT_EQ(all.one(int8_t{1}), L"byte");
  EXPECT_EQ(all.one(int16_t{1}), L"int");
  EXPECT_EQ(all.one(1), L"int");
  EXPECT_EQ(all.one(1L), L"int");
  EXPECT_EQ(all.one(int64_t{1}), L"long");
  EXPECT_EQ(all.one(1.0F), L"double");
  EXPECT_EQ(all.one("text"), L"String");
  EXPECT_EQ(all.one(std::wstring(L"text")), L"String");
  EXPECT_EQ(all.one(qvjvm::null<std::wstring>), L"String");
  EXPECT_EQ(all.one(qvjvm::null<java::lang::CharSequence>), L"CharSequence");
  EXPECT_EQ(all.one(all), L"Object");
  EXPECT_EQ(all.one(qvjvm::boxed<int32_t>{1}), L"Object");
  const auto list = java::util::ArrayList::create(java);
  EXPECT_EQ(all.one(list), L"List");
  EXPECT_EQ(all.one(java::util::Collection(list)), L"Collection");
  EXPECT_EQ(all.one(std::vector<int32_t>{1}), L"int[]");
  EXPECT_EQ(all.one(std::vector<std::wstring>{L"a"}), L"Object[]");
  EXPECT_EQ(all.two(all, L"a"), L"Object, String");
  EXPECT_EQ(all.two(L"a", all), L"String, Object");
}

TEST_F(Wrapped, OverloadsFromAboveAreNotHidden) {
  const auto more = MoreOverloads::create(java);
  EXPECT_EQ(more.base(L"text"), L"more String");
  EXPECT_EQ(more.base(more), L"base Object");
  const auto less = Overloads::create(java);
  EXPECT_EQ(less.base(L"text"), L"base Object");
}

TEST_F(Wrapped, AStaticMethodAndOneOfAnObjectShareAName) {
  const auto object = Overloads::create(java);
  EXPECT_EQ(object.same(), L"instance");
  EXPECT_EQ(Overloads::same(java, object), L"static");
  EXPECT_EQ(Overloads::same(object, object), L"static");
}

template <class T, class... Arguments>
concept TakesOne = requires(const T& object, const Arguments&... values) {
  object.compareTo(values...);
};

TEST_F(Wrapped, WhatComesFromAboveIsThere) {
  const auto shown = Shown::create(java, 4);
  EXPECT_EQ(shown.fromHidden(), L"hidden");
  EXPECT_EQ(shown.self().name(), L"shown 4");
  EXPECT_EQ(shown.greeting(), L"Hello, shown 4");
  EXPECT_EQ(shown.compareTo(Shown::create(java, 9)), -1);
  static_assert(TakesOne<Shown, Shown>);
  static_assert(!TakesOne<Shown, java::lang::Object>);  // a bridge alone has it
  EXPECT_EQ(Unfinished::make(java, L"x").greeting(), L"Hello, x");
  EXPECT_EQ(Named::prefix(java), L"Hello");
  EXPECT_EQ(Named::LIMIT, 7);
}

TEST_F(Wrapped, AClassStandsBelowOneThatIsIncomplete) {
  EXPECT_EQ(BelowIncomplete::create(java).own(), 1);
  static_assert(fits<BelowIncomplete, Incomplete>);
}

TEST_F(Wrapped, AnObjectIsTakenForItsInterfaceWithoutAQuestion) {
  auto shown = Shown::create(java, 5);
  const Named named = shown;
  EXPECT_EQ(named.greeting(), L"Hello, shown 5");
  const Named moved = std::move(shown);
  EXPECT_EQ(moved.name(), L"shown 5");
  EXPECT_EQ(named.as<Shown>().name(), L"shown 5");
  EXPECT_THROW(static_cast<void>(named.as<Unfinished>()), qvjvm::error);
  static_assert(!std::is_convertible_v<const Named&, Shown>);
  static_assert(!std::is_convertible_v<const Overloads&, Named>);
}

TEST_F(Wrapped, VariableArguments) {
  EXPECT_EQ(Variable::join(java), L"0:");
  EXPECT_EQ(Variable::join(java, L"a"), L"only a");
  EXPECT_EQ(Variable::join(java, L"a", "b"), L"2:a,b");
  EXPECT_EQ(Variable::join(java, std::vector<std::wstring>{L"a"}), L"1:a");
  EXPECT_EQ(Variable::sum(java), 0);
  EXPECT_EQ(Variable::sum(java, 1, int8_t{2}, 3), 6);
  EXPECT_EQ(Variable::sum(java, std::vector<int32_t>{4, 5}), 9);
  EXPECT_EQ(Variable::form(java, L"x", L"a", qvjvm::boxed<int32_t>{1}, nullptr), L"x3");
  EXPECT_EQ(Variable::form(java, 7, L"x", L"a"), L"7x1");
}

TEST_F(Wrapped, FieldsAndConstants) {
  EXPECT_TRUE(Fields::YES);
  EXPECT_EQ(Fields::SMALL, -128);
  EXPECT_EQ(Fields::LETTER, L'\u00e4');
  EXPECT_EQ(Fields::LEAST, std::numeric_limits<int32_t>::min());
  EXPECT_EQ(Fields::LEAST_LONG, std::numeric_limits<int64_t>::min());
  EXPECT_TRUE(std::isnan(Fields::NOT));
  EXPECT_EQ(Fields::TENTH, 0.1);
  EXPECT_EQ(Fields::TEXT_, std::wstring_view(L"Gr\u00fc\u00dfe \"x\" \\ ?? 1\0"
                                             L"1",
                                             18));
  EXPECT_EQ(Fields::ERROR_, 3);
  EXPECT_EQ(Fields::name_, 4);
  const auto fields = Fields::create(java);
  EXPECT_EQ(fields.name(), 9);
  EXPECT_EQ(fields.get_number(), 5);
  fields.set_number(int16_t{6});
  EXPECT_EQ(fields.get_number(), 6);
  EXPECT_EQ(fields.get_fixed(), 6);
  fields.set_text("u");
  EXPECT_EQ(fields.get_text(), L"u");
  fields.set_named(Shown::create(java, 1));
  EXPECT_EQ(fields.get_named().name(), L"shown 1");
  fields.set_named(nullptr);
  EXPECT_FALSE(fields.get_named());
  Fields::set_initialized(java, true);
  EXPECT_TRUE(Fields::get_initialized(fields));
  EXPECT_TRUE(Fields::get_NO_CONSTANT(java));
}

TEST_F(Wrapped, NamesThatCppHasOtherUsesFor) {
  const auto names = Names::create(java);
  EXPECT_EQ(names.delete_(), 1);
  EXPECT_EQ(names.and_(8), 8);
  EXPECT_EQ(names.get(), 2);
  EXPECT_EQ(names.call_(), 3);
  EXPECT_EQ(names.as_(), 4);
  EXPECT_EQ(names.with_dollar_(), 5);
  EXPECT_EQ(names.two_lines_(), 6);
  EXPECT_EQ(names.Names_(), 7);
  EXPECT_EQ(names.TRUE_(), 8);
  EXPECT_EQ(names.where(1, 2, 3), 6);
  EXPECT_EQ(Names::min_(java, 3, 2), 2);
  EXPECT_EQ(delete_::Class::create(java).shown().name(), L"shown 3");
}

TEST_F(Wrapped, ClassesInClasses) {
  EXPECT_EQ(Outer::Inner::create(java).who(), L"inner");
  EXPECT_EQ(Outer_Inner::Deepest::create(java).who(), L"deepest");
  const auto outer = Outer::create(java);
  EXPECT_TRUE(Outer::Bound::create(java, outer).outer().same_as(outer));
  EXPECT_EQ(Outer_Bound::create(java).who(), L"top");
  EXPECT_EQ(outer.taken(), 1);
  EXPECT_TRUE(Outer_taken::create(java));
}

TEST_F(Wrapped, EnumConstantsHaveTheirNames) {
  EXPECT_EQ(Color::RED(java).mood(), L"warm");
  EXPECT_EQ(Color::GREEN(java).mood(), L"calm");
  EXPECT_EQ(Color::DELETE_(java).name(), L"DELETE");
  EXPECT_EQ(Color::values(java).length(), 3);
  EXPECT_TRUE(Color::valueOf(java, L"RED").same_as(Color::RED(java)));
}

TEST_F(Wrapped, ResultsOfEachKind) {
  const auto generic = Generic::create(java);
  const auto table = generic.table();
  EXPECT_EQ(table.length(), 2);
  EXPECT_EQ(table.at(0), (std::vector<int32_t>{1, 2}));
  EXPECT_EQ(generic.words().at(2), L"c");
  EXPECT_EQ(generic.box(true), std::optional<int32_t>(42));
  EXPECT_EQ(generic.box(false), std::nullopt);
  EXPECT_EQ(generic.type().call<std::wstring>("getName"), L"wrapped.Generic");
  EXPECT_FALSE(generic.mix(L"x", nullptr, nullptr));
}

// ---- the program ----

class BindProgram : public testing::Test {
 protected:
  ChildResult Run(std::vector<std::wstring> arguments) const {
    ChildOptions options;
    options.arguments = {L"--class-path", ProgramFolder() + L"\\wrapped.jar", L"--out", m_folder.Path()};
    options.arguments.insert(options.arguments.end(), arguments.begin(), arguments.end());
    return RunChild(ProgramFolder() + L"\\qvjvm-bind.exe", options);
  }
  const TempFolder m_folder;
};

TEST_F(BindProgram, WritesAndChecks) {
  EXPECT_EQ(Run({L"--check", L"wrapped.Named"}).exitCode, 1U);
  EXPECT_FALSE(FileExists(m_folder.Path(L"wrapped\\Named.hpp")));
  const ChildResult written = Run({L"wrapped.Named"});
  EXPECT_EQ(written.exitCode, 0U) << written.output;
  EXPECT_TRUE(FileExists(m_folder.Path(L"wrapped\\Named.hpp")));
  EXPECT_EQ(Run({L"--check", L"wrapped.Named"}).exitCode, 0U);
  const ChildResult other = Run({L"--check", L"--text", L"utf8", L"wrapped.Named"});
  EXPECT_EQ(other.exitCode, 1U);
  EXPECT_THAT(other.output, testing::HasSubstr("detail/wrapped/Named.hpp: line "));
}

TEST_F(BindProgram, KeepsClearOfAMacroThatIsNamed) {
  EXPECT_EQ(Run({L"--macro", L"name", L"--macro=Named", L"wrapped.Named"}).exitCode, 0U);
  const std::string text = ReadWholeFile(m_folder.Path(L"detail\\wrapped\\Named_.hpp"));
  EXPECT_THAT(text, testing::HasSubstr("class Named_ : public"));
  EXPECT_THAT(text, testing::HasSubstr(" name_() const"));
}

TEST_F(BindProgram, AClassThatIsNotThereIsTold) {
  const ChildResult missing = Run({L"wrapped.Named", L"wrapped.Missing"});
  EXPECT_EQ(missing.exitCode, 2U);
  EXPECT_THAT(missing.output, testing::HasSubstr("wrapped.Missing was left out: java.lang.ClassNotFoundException"));
  EXPECT_TRUE(FileExists(m_folder.Path(L"wrapped\\Named.hpp")));
  EXPECT_EQ(Run({L"no.such.package.*"}).exitCode, 3U);
  EXPECT_EQ(Run({L"no.module/*"}).exitCode, 3U);
  EXPECT_EQ(Run({L"--no-such-option"}).exitCode, 3U);
}

TEST_F(BindProgram, AClassOfAPackageThatCannotBeReadIsTold) {
  const ChildResult all = Run({L"wrapped.*"});
  EXPECT_EQ(all.exitCode, 0U);
  EXPECT_THAT(all.output,
              testing::HasSubstr("wrapped.Incomplete was left out: java.lang.NoClassDefFoundError: wrapped/Gone"));
  EXPECT_TRUE(FileExists(m_folder.Path(L"wrapped\\BelowIncomplete.hpp")));
}

TEST_F(BindProgram, ReadsNoClassWithItsInitializer) {
  // Its initializer ends the process.
  EXPECT_EQ(Run({L"wrapped.Explosive"}).exitCode, 0U);
}

}  // namespace
}  // namespace qvtest
