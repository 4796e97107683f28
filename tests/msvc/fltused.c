/* What code for Microsoft's ABI asks for when it computes with floating point; lld finds it in none of mingw's libraries. */
int _fltused = 1;
