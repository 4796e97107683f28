cd server
.\reportserver --out pdf "C:/where you unpacked it/qvjvm-1.1.0-win64/share/doc/qvjvm/examples/fo2pdf"
