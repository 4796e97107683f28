#include <cstdio>
#include "qvjvm/qvjvm.hpp"

// usage: pdf report.fo report.pdf
int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();

    const qvjvm::object input = java.find_class("java/io/File").create(argv[1]);
    const qvjvm::object address = input.call<qvjvm::instance<"java/net/URI">>("toURI");
    const qvjvm::object folder = address.call<qvjvm::instance<"java/net/URI">>("resolve", L".");
    const qvjvm::object source =
        java.find_class("org/xml/sax/InputSource").create(address.call<std::wstring>("toASCIIString"));
    const qvjvm::object output = java.find_class("java/io/FileOutputStream").create(argv[2]);

    const qvjvm::object settings = java.find_class("org/apache/fop/apps/Options").create();  // as FOP ships them
    java.find_class("org/apache/fop/configuration/Configuration")
        .call_static("put", L"baseDir", java.new_string(folder.call<std::wstring>("toASCIIString")));  // of pictures
    const qvjvm::object driver = java.find_class("org/apache/fop/apps/Driver").create();
    driver.call("setRenderer", 1);  // Driver.RENDER_PDF
    driver.call_as("setOutputStream", "(Ljava/io/OutputStream;)V", output);
    driver.call_as("setInputSource", "(Lorg/xml/sax/InputSource;)V", source);
    driver.call("run");
    output.call("close");
    return 0;
  } catch (const qvjvm::error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
