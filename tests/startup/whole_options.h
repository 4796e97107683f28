// Whether a JVM was started with all of its options although something that they are made of could not be had.
#pragma once

#include <string>
#include <vector>

namespace qvtest {

// What a JVM may be started with when something that is read could not be: a value that is not found is left out of the
// class path, a JDK location is empty, and for an unknown host the built-in list or the built-in properties stand in.
// Nothing else is ever left out, cut or changed.
void ExpectWholeOptions(const std::vector<std::string>& got, const std::vector<std::string>& normal, bool knownHost);

}  // namespace qvtest
