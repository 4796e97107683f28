#include "formatter.h"

#include <algorithm>
#include <memory>
#include <span>

#include "java/io/File.hpp"
#include "java/lang/ClassLoader.hpp"
#include "java/lang/Thread.hpp"
#include "java/net/URI.hpp"
#include "java/net/URL.hpp"
#include "java/net/URLClassLoader.hpp"
#include "org/apache/fop/apps/Driver.hpp"
#include "org/apache/fop/apps/Options.hpp"
#include "org/apache/fop/configuration/Configuration.hpp"
#include "org/apache/fop/image/FopImageFactory.hpp"
#include "org/apache/fop/messaging/MessageHandler.hpp"
#include "org/xml/sax/InputSource.hpp"
#include "qvjvm/callbacks.hpp"

namespace reportserver {
namespace {

namespace fop = org::apache::fop;
using org::apache::avalon::framework::logger::Logger;

java::net::URI AddressOf(const qvjvm::jvm& java, const std::wstring& path) {
  return java::io::File::create(java, path).toURI();
}

/// Classes of the calling thread alone: from the jars, and from Java.
qvjvm::jvm WithOwnClasses(const qvjvm::jvm& java, const std::wstring& classPath) {
  std::vector<java::net::URL> jars;
  for (size_t at = 0; at < classPath.size();) {
    const size_t end = std::min(classPath.find(L';', at), classPath.size());
    if (end > at) jars.push_back(AddressOf(java, classPath.substr(at, end - at)).toURL());
    at = end + 1;
  }
  const auto loader =
      java::net::URLClassLoader::create(java, jars, java::lang::ClassLoader::getPlatformClassLoader(java));
  java::lang::Thread::currentThread(java).setContextClassLoader(loader);  // here Java looks for the XML parser
  return java.with_loader(loader);
}

/// A logger of Java's that calls the host.
Logger MakeLogger(const qvjvm::jvm& java, const Formatter::Listener& listener) {
  using qvjvm::on;
  using Text = const std::wstring&;
  using Cause = const qvjvm::throwable&;
  const auto yes = [] { return true; };
  const auto no = [] { return false; };
  const auto drop = [](Text) {};
  const auto dropBoth = [](Text, Cause) {};
  const auto tell = [listener](Text text) { listener(text, false); };
  const auto tellBoth = [listener](Text text, Cause) { listener(text, false); };
  const auto warn = [listener](Text text) { listener(text, true); };
  const auto warnBoth = [listener](Text text, Cause cause) { listener(text + L": " + cause.text(), true); };
  const auto child = [java, listener](Text) { return MakeLogger(java, listener); };
  return qvjvm::implement<Logger>(java, on<"isDebugEnabled">(no), on<"debug">(drop), on<"debug">(dropBoth),  //
                                  on<"isInfoEnabled">(yes), on<"info">(tell), on<"info">(tellBoth),          //
                                  on<"isWarnEnabled">(yes), on<"warn">(warn), on<"warn">(warnBoth),          //
                                  on<"isErrorEnabled">(yes), on<"error">(warn), on<"error">(warnBoth),       //
                                  on<"isFatalErrorEnabled">(yes), on<"fatalError">(warn), on<"fatalError">(warnBoth),
                                  on<"getChildLogger">(child))
      .as<Logger>();
}

}  // namespace

Formatter::Formatter(const qvjvm::jvm& java, const std::wstring& classPath, const Listener& listener)
    : java_(WithOwnClasses(java, classPath)), logger_(MakeLogger(java_, listener)) {
  fop::messaging::MessageHandler::setScreenLogger(java_, logger_);
  (void)fop::apps::Options::create(java_);  // reads FOP's own settings
}

std::vector<std::byte> Formatter::Convert(const std::filesystem::path& document) const {
  // Java may keep the stream for longer than this call.
  const auto pdf = std::make_shared<std::vector<std::byte>>();
  const auto stream = qvjvm::new_output_stream(
      java_, [pdf](std::span<const std::byte> block) { pdf->insert(pdf->end(), block.begin(), block.end()); });

  // Pictures are named relative to the document, and FOP keeps them by that name.
  fop::configuration::Configuration::put(java_, L"baseDir",
                                         AddressOf(java_, document.parent_path().wstring()).toASCIIString());
  fop::image::FopImageFactory::resetCache(java_);

  const auto driver = fop::apps::Driver::create(java_);
  driver.setLogger(logger_);
  driver.setRenderer(fop::apps::Driver::RENDER_PDF);
  driver.setOutputStream(stream);
  driver.setInputSource(
      org::xml::sax::InputSource::create(java_, AddressOf(java_, document.wstring()).toASCIIString()));
  driver.run();
  return std::move(*pdf);
}

}  // namespace reportserver
