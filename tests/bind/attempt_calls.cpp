// Headers of qvjvm-bind with --try and --text utf8, in a program without exceptions.
#include <windows.h>

#include <cstdio>

#include "java/util/ArrayList.hpp"
#include "wrapped/Fields.hpp"
#include "wrapped/Generic.hpp"
#include "wrapped/Overloads.hpp"
#include "wrapped/Variable.hpp"

namespace {

int g_failed = 0;

void Check(bool holds, const char* what) {
  if (holds) return;
  ++g_failed;
  std::printf("not as expected: %s\n", what);
}
#define CHECK(condition) Check(condition, #condition)

void Call(const qvjvm::jvm& java) {
  const auto list = java::util::ArrayList::try_create(java).value();
  CHECK(list.try_add("gr\xC3\xBC\xC3\x9F").value());
  CHECK(list.try_size().value() == 1);
  CHECK(list.try_toString().value() == "[gr\xC3\xBC\xC3\x9F]");
  const auto failed = list.try_get(1);
  CHECK(!failed && std::string_view(failed.reason().what()).starts_with("java.lang.IndexOutOfBoundsException"));
  CHECK(!java::util::ArrayList::try_create(java, -1));
  CHECK(wrapped::Overloads::try_create(java).value().try_one(int8_t{1}).value() == "byte");
  CHECK(wrapped::Variable::try_sum(java, std::vector<int32_t>{1, 2, 3}).value() == 6);
  CHECK(wrapped::Fields::TEXT_.starts_with("Gr\xC3\xBC\xC3\x9F"));
  const auto fields = wrapped::Fields::try_create(java).value();
  CHECK(bool(fields.try_set_text("\xF0\x9F\x98\x80")) && fields.try_get_text().value() == "\xF0\x9F\x98\x80");
  CHECK(wrapped::Generic::try_create(java).value().try_words().value().at(2) == "c");
}

}  // namespace

int main() {
  const auto java = qvjvm::jvm::try_start();
  if (!java) {
    std::printf("%s\n", java.reason().what());
    return 1;
  }
  Call(java.value());
  return g_failed == 0 ? 0 : 1;
}
