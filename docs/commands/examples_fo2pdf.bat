build\bin\fo2pdf share/doc/qvjvm/examples/fo2pdf/report.fo report.pdf
