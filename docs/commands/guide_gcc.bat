g++ -std=c++20 -municode -static "-IC:/where you unpacked it/qvjvm-1.0.0-win64/include" pdf.cpp -o pdf.exe
