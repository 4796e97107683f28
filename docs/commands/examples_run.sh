tools/wine-run out/install/fo2pdf.exe examples/fo2pdf/report.fo report.pdf

cd out/install
../../tools/wine-run JRE/bin/java.exe -cp reporthost.jar ReportHost \
  "Z:$PWD/qvjoin.dll" ../../examples/fo2pdf/report.fo joined.pdf

export CLASSPATH='drivers\h2-2.2.224.jar;drivers\postgresql-42.7.4.jar'
../../tools/wine-run jdbc.exe
