g++ -std=c++20 -static "-IC:/where you unpacked it/qvjvm-1.1.0-win64/include" client.cpp -o client.exe
