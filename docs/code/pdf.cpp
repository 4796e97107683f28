#include <cstdio>
#include "qvjvm/qvjvm.hpp"

using input_source = qvjvm::instance<"org/xml/sax/InputSource">;
using output_stream = qvjvm::instance<"java/io/OutputStream">;
using uri = qvjvm::instance<"java/net/URI">;

struct driver : qvjvm::java_class<driver, "org/apache/fop/apps/Driver"> {
  using java_class::java_class;
  void set_renderer(int32_t kind) const { call<"setRenderer">(kind); }
  void set_output(const qvjvm::object& to) const { call<"setOutputStream", void(output_stream)>(to); }
  void set_input(const input_source& from) const { call<"setInputSource">(from); }
  void run() const { call<"run">(); }
};

// usage: pdf report.fo report.pdf
int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return 2;
  try {
    const qvjvm::jvm java = qvjvm::jvm::start();

    const auto address = java.create<"java/io/File">(argv[1]).call<"toURI", uri>();
    const auto folder = address.call<"resolve", uri>(L".").call<"toASCIIString", std::string>();
    const auto output = java.create<"java/io/FileOutputStream">(argv[2]);

    const auto settings = java.create<"org/apache/fop/apps/Options">();  // as FOP ships them
    java.call_static<"org/apache/fop/configuration/Configuration", "put", void(std::string, qvjvm::object)>(
        "baseDir", folder);  // of pictures
    const driver fop = driver::create(java);
    fop.set_renderer(1);  // Driver.RENDER_PDF
    fop.set_output(output);
    fop.set_input(input_source::create(java, address.call<"toASCIIString", std::string>()));
    fop.run();
    output.call<"close">();
    return 0;
  } catch (const qvjvm::error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
