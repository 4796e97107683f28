g++ -std=c++20 -static -Iinclude client.cpp -o bin/client.exe
