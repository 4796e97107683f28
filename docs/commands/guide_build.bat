cmake -S . -B build "-Dqvjvm_DIR=C:/where you unpacked it/qvjvm-1.1.0-win64/lib/cmake/qvjvm"
cmake --build build --config Release
.\build\client
