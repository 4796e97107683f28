// Class files, whole and damaged, and declarations as sources have them.
#include <gtest/gtest.h>

#include <cmath>

#include "bind/class_file.h"
#include "bind/java_text.h"
#include "tests/bind/small_library.h"

namespace qvtest {
namespace {

using namespace binder;

// A class file, put together.
class Bytes {
 public:
  Bytes& One(uint32_t value) { return Put(value, 1); }
  Bytes& Two(uint32_t value) { return Put(value, 2); }
  Bytes& Four(uint32_t value) { return Put(value, 4); }
  Bytes& Text(std::string_view text) {
    One(1).Two(static_cast<uint32_t>(text.size()));
    for (const char letter : text) One(static_cast<unsigned char>(letter));
    return *this;
  }
  [[nodiscard]] const std::vector<uint8_t>& All() const { return m_bytes; }

 private:
  Bytes& Put(uint32_t value, int size) {
    while (size-- > 0) m_bytes.push_back(static_cast<uint8_t>(value >> (8 * size)));
    return *this;
  }
  std::vector<uint8_t> m_bytes;
};

// Constants i, l and t, and a method f with a generic signature and the name of its parameter.
std::vector<uint8_t> Whole() {
  Bytes file;
  file.Four(0xCAFEBABE).Four(55);
  file.Two(22);
  file.Text("i").Text("I").Text("ConstantValue");                         // 1 to 3
  file.One(3).Four(0xFFFFFFFE);                                           // 4: -2
  file.Text("l").Text("J");                                               // 5, 6
  file.One(5).Four(0x80000000).Four(1);                                   // 7, 8
  file.Text("t").Text("Ljava/lang/String;");                              // 9, 10
  file.Text(std::string_view("a\xC0\x80\xED\xA0\xBD", 6));                // 11
  file.One(8).Two(11);                                                    // 12
  file.Text("f").Text("(JI)V").Text("Signature").Text("<T:>(TT;I)V");     // 13 to 16
  file.Text("Code").Text("LocalVariableTable").Text("many").Text("one");  // 17 to 20
  file.Text("this");                                                      // 21
  file.Two(1).Two(0).Two(0).Two(0);                                       // modifiers, class, superclass, interfaces
  file.Two(3);
  const auto field = [&](uint32_t name, uint32_t type, uint32_t value) {
    file.Two(0x19).Two(name).Two(type).Two(1).Two(3).Four(2).Two(value);
  };
  field(1, 2, 4);
  field(5, 6, 7);
  field(9, 10, 12);
  file.Two(1);
  file.Two(1).Two(13).Two(14).Two(2);
  file.Two(15).Four(2).Two(16);
  constexpr uint32_t table = 2 + 3 * 10;
  file.Two(17).Four(8 + 1 + 2 + 2 + 6 + table).Two(0).Two(0).Four(1).One(0xB1).Two(0).Two(1);
  file.Two(18).Four(table).Two(3);
  file.Two(0).Two(1).Two(21).Two(0).Two(0);
  file.Two(0).Two(1).Two(20).Two(0).Two(3);  // behind the long, which takes two places
  file.Two(0).Two(1).Two(19).Two(0).Two(1);
  file.Two(0);
  return file.All();
}

TEST(BindClassFile, TellsConstantsSignaturesAndNames) {
  const auto file = ReadClassFile(Whole());
  ASSERT_TRUE(file);
  EXPECT_EQ(file->fields.at({"i", "I"}).constant, Constant(-2));
  EXPECT_EQ(file->fields.at({"l", "J"}).constant, Constant(std::numeric_limits<int64_t>::min() + 1));
  EXPECT_EQ(file->fields.at({"t", "Ljava/lang/String;"}).constant,
            Constant(std::u16string{u'a', u'\0', char16_t{0xD83D}}));
  const MemberInfo& method = file->methods.at({"f", "(JI)V"});
  EXPECT_EQ(method.signature, "<T:>(TT;I)V");
  EXPECT_EQ(method.parameterNames, (std::vector<std::string>{"many", "one"}));
}

TEST(BindClassFile, DamagedBytesAreNoClassFile) {
  const std::vector<uint8_t> whole = Whole();
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(ReadClassFile(std::span(whole).first(size))) << size << " bytes";
  }
  // Any byte may be wrong; what comes of it is a class file or none.
  for (size_t i = 0; i < whole.size(); ++i) {
    for (const uint8_t wrong : {uint8_t{0}, uint8_t{1}, uint8_t{0x7F}, uint8_t{0xFF}}) {
      std::vector<uint8_t> bytes = whole;
      bytes[i] = wrong;
      (void)ReadClassFile(bytes);
    }
  }
}

TEST(BindJavaText, DeclarationsAreThoseOfTheSource) {
  auto method = SmallMethod("mix", {"Ljava/lang/Comparable;", "[I"}, "Ljava/util/Map;", kPublic | kVarargs);
  EXPECT_EQ(TextOf(method, "a/B", "", {"java/io/IOException"}),
            "public Map mix(Comparable, int...) throws IOException");
  EXPECT_EQ(TextOf(method, "a/B",
                   "<V:Ljava/lang/Number;:Ljava/lang/Comparable<TV;>;U::Ljava/util/List<*>;W:Ljava/lang/Object;>"
                   "(TV;[I)Ljava/util/Map<-TT;+Ljava/util/List<[TV;>;>;^TE;",
                   {}),
            "public <V extends Number & Comparable<V>, U extends List<?>, W> Map<? super T, ? extends List<V[]>> "
            "mix(V, int...) throws E");
  method.parameterNames = {"first", "rest"};
  EXPECT_EQ(TextOf(method, "a/B", "(La/Outer<TT;>.Inner<TU;>;[I)V", {}),
            "public void mix(Outer<T>.Inner<U> first, int... rest)");
  auto constructor = SmallMethod("<init>", {"La/B;", "I"}, "V");
  EXPECT_EQ(TextOf(constructor, "a/B$C", "(I)V", {}), "public C(B, int)");
  EXPECT_EQ(TextOf(SmallField("list", "Ljava/util/List;", kPublic | kStatic | kFinal), "Ljava/util/List<TT;>;"),
            "public static final List<T> list");
}

TEST(BindJavaText, DamagedSignaturesEnd) {
  EXPECT_FALSE(TextOf(SmallField("f", "I", kPublic), std::string(1000000, '[')).empty());
  const std::string whole = "<V:Ljava/lang/Number;:La/B<TV;>;>(TV;[I)La/Outer<+TT;>.Inner<*>;^TE;";
  const auto method = SmallMethod("f", {"I", "I"}, "V");
  for (size_t size = 0; size <= whole.size(); ++size) {
    EXPECT_FALSE(TextOf(method, "a/B", whole.substr(0, size), {}).empty());
    for (const char wrong : {'<', '>', ';', ':', '^', '['}) {
      std::string damaged = whole;
      if (size < whole.size()) damaged[size] = wrong;
      EXPECT_FALSE(TextOf(method, "a/B", damaged, {}).empty());
    }
  }
}

}  // namespace
}  // namespace qvtest
