../../tools/wine-run jdbc.exe 'jdbc:postgresql://127.0.0.1:5432/postgres?user=NAME&password=WORD'
