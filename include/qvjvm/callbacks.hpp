/// @file
/// What the C++ client has for Java that calls the host: interfaces implemented in C++ (implement), native methods
/// (register_natives), streams and futures. A header of its own, because most hosts only call Java, and their compilers
/// need not read all this.
#pragma once

#include "qvjvm/client/callbacks.hpp"
#include "qvjvm/client/futures.hpp"
#include "qvjvm/client/natives.hpp"
#include "qvjvm/client/streams.hpp"
