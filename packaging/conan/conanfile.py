"""The Java VM Service for Conan 2.

    conan create packaging/conan --profile:host <a profile for MinGW or MSVC on 64-bit Windows>

It builds from the checkout that it lies in. With -c user.qvjvm:build=FOLDER, "conan export-pkg" takes a folder that was
built there already.
"""
import os
import re
import shutil

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain
from conan.tools.files import copy, load

FOLDERS = ["base", "benchmarks", "bind", "bridge", "cmake", "config", "docs", "doctor", "examples", "host", "hostlib", "include",
           "languages", "service", "store", "train"]


class QvjvmConan(ConanFile):
    name = "qvjvm"
    description = "Java VM Service: embeds Java in 64-bit Windows programs"
    license = "MIT"
    topics = ("java", "jvm", "jni", "embedding")
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"

    @property
    def _root(self):
        return os.path.join(self.recipe_folder, os.pardir, os.pardir)

    def set_version(self):
        header = load(self, os.path.join(self._root, "include", "qvjvm", "qvjvm.h"))
        self.version = ".".join(re.search(rf"#define QVJVM_VERSION_{part} (\d+)", header).group(1)
                                for part in ("MAJOR", "MINOR", "PATCH"))

    def export_sources(self):
        # File by file at the top: Conan's copy() looks into all folders, those of builds too.
        for name in os.listdir(self._root):
            if name in ("CMakeLists.txt", "LICENSE") or name.endswith(".md"):
                shutil.copy2(os.path.join(self._root, name), self.export_sources_folder)
        for folder in FOLDERS:
            copy(self, "*", os.path.join(self._root, folder), os.path.join(self.export_sources_folder, folder), excludes="*/target/*")

    def layout(self):
        built = self.conf.get("user.qvjvm:build")
        if built:
            self.folders.source = self._root
        self.folders.build = built or "build"
        self.folders.generators = os.path.join(self.folders.build, "conan")

    def validate(self):
        if self.settings.os != "Windows" or self.settings.arch != "x86_64":
            raise ConanInvalidConfiguration("qvjvm is a library for 64-bit Windows")
        if self.settings.get_safe("compiler.cppstd"):
            check_min_cppstd(self, 20)

    def generate(self):
        tools = CMakeToolchain(self, generator="Ninja")
        tools.user_presets_path = False
        # Programs of the product's own: no tests, and nothing of Conan's between it and its own rules.
        tools.cache_variables["QV_TESTS"] = False
        tools.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build(target="package_files")

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The package's own CMake files, with qvjvm_bind() and the targets of the zip.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "qvjvm")]
        self.cpp_info.libs = ["qvjvm"]
        self.cpp_info.bindirs = ["bin"]
