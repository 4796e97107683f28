// The compiler says: a view would
#include "qvjvm/qvjvm.hpp"

void Use(const qvjvm::object& text) { (void)text.call<std::wstring_view>("trim"); }
