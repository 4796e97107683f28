cd "C:/where you unpacked it/qvjvm-1.1.0-win64"
cmake -S share/doc/qvjvm/examples -B build
cmake --build build --config Release
