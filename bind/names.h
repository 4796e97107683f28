// The naming rule, all of it: which C++ name stands for a name of Java's. docs/wrappers.md publishes it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace binder {

// A name that C++ allows and that no macro, keyword or member of the client's takes. A Java name that is none of these
// stays; every other one gets an underscore at its end.
std::string NameOf(std::string_view javaName);

// Whether a name may stand in a comment and in a literal as it is: not with control characters, quotes or backslashes,
// which Java's machine allows and no compiler of Java makes.
bool CanBeWritten(std::string_view javaName);

// The namespaces of a class, "java/util/Map$Entry": java, util.
std::vector<std::string> NamespacesOf(std::string_view className);
// What a nested class is called in the one that it is in; nothing for any other. Between the two stands a dollar,
// unless the outer name ends with one, as Scala's objects do.
std::string_view NestedPart(std::string_view className, std::string_view outer);
// Its C++ name without them: Map_Entry. `outer` is the name of the class that it is nested in, or none; with `taken` a
// class of the package has that name already.
std::string ClassNameOf(std::string_view className, std::string_view outer, bool taken = false);

// A name of a member of a class whose C++ name is known: none is that of its class.
std::string MemberNameOf(std::string_view javaName, std::string_view ownClass);

// Takes a name for a macro from now on, before any other name is made.
void ReserveMacro(const std::string& name);

// Why a name is not kept, for people and for tests.
enum class Reserved { No, Keyword, Macro, Client, Form };
Reserved WhyReserved(std::string_view javaName);

}  // namespace binder
