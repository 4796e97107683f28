// The same host through the C++ view of the header: abstract classes whose tables are laid out by this compiler.
#include "client.c"
