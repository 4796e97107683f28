cmake -S "C:/where you unpacked it/qvjvm-1.1.0-win64/share/doc/qvjvm/examples/reportserver" -B server -DFOP_FOLDER=fop-0.20.5 "-Dqvjvm_DIR=C:/where you unpacked it/qvjvm-1.1.0-win64/lib/cmake/qvjvm"
cmake --build server --config Release
