// FOP 0.20.5 through headers that qvjvm-bind has just written: makes a PDF. Usage: fop_calls CLASSPATH INPUT OUTPUT
#include <windows.h>

#include <cstdio>
#include <filesystem>

#include "java/io/File.hpp"
#include "java/io/FileOutputStream.hpp"
#include "java/net/URI.hpp"
#include "org/apache/avalon/framework/logger/ConsoleLogger.hpp"
#include "org/apache/fop/apps/Driver.hpp"
#include "org/apache/fop/apps/Options.hpp"
#include "org/apache/fop/configuration/Configuration.hpp"
#include "org/apache/fop/messaging/MessageHandler.hpp"
#include "org/xml/sax/InputSource.hpp"

namespace {

std::wstring AddressOf(const qvjvm::jvm& java, const std::wstring& path) {
  return java::io::File::create(java, path).toURI().toASCIIString();
}

void Render(const qvjvm::jvm& java, const std::filesystem::path& input, const std::filesystem::path& output) {
  namespace fop = org::apache::fop;
  constexpr int kWarnings = 2;
  const auto logger = org::apache::avalon::framework::logger::ConsoleLogger::create(java, kWarnings);
  fop::messaging::MessageHandler::setScreenLogger(java, logger);
  (void)fop::apps::Options::create(java);
  fop::configuration::Configuration::put(java, L"baseDir", AddressOf(java, input.parent_path().wstring()));
  const auto stream = java::io::FileOutputStream::create(java, output.wstring());
  const auto driver = fop::apps::Driver::create(java);
  driver.setLogger(logger);
  driver.setRenderer(fop::apps::Driver::RENDER_PDF);
  driver.setOutputStream(stream);
  driver.setInputSource(org::xml::sax::InputSource::create(java, AddressOf(java, input.wstring())));
  driver.run();
  stream.close();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 4) return 2;
  try {
    Render(qvjvm::jvm::start(argv[1]), std::filesystem::absolute(argv[2]), std::filesystem::absolute(argv[3]));
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
  return 0;
}
