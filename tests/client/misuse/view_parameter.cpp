// The compiler says: qvjvm: a result of text is a std::wstring, std::u16string, std::string or std::u8string
#include "qvjvm/callbacks.hpp"

auto wrong(const qvjvm::jvm& java) {
  return qvjvm::try_implement<"java/util/function/Consumer">(java, [](std::wstring_view) {});
}
