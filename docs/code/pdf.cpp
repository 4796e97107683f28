#include <cstdio>
#include "qvjvm/qvjvm.hpp"

// usage: pdf report.fo report.pdf
int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();

    const qvjvm::object input = java.find_class("java/io/File").create(argv[1]);
    const std::wstring address =
        input.call<qvjvm::instance<"java/net/URI">>("toURI").call<std::wstring>("toASCIIString");
    const qvjvm::object source = java.find_class("org/xml/sax/InputSource").create(address);
    const qvjvm::object output = java.find_class("java/io/FileOutputStream").create(argv[2]);

    const qvjvm::object settings = java.find_class("org/apache/fop/apps/Options").create();  // as FOP ships them
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
