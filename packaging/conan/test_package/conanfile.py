import os

from conan import ConanFile
from conan.tools.build import can_run
from conan.tools.cmake import CMake, CMakeToolchain


class TestConan(ConanFile):
    settings = "os", "arch", "compiler", "build_type"

    def requirements(self):
        self.requires(self.tested_reference_str)

    def layout(self):
        self.folders.build = "build"
        self.folders.generators = "build/generators"

    def generate(self):
        tools = CMakeToolchain(self, generator="Ninja")
        tools.user_presets_path = False
        package = self.dependencies["qvjvm"].package_folder
        tools.cache_variables["qvjvm_DIR"] = os.path.join(package, "lib", "cmake", "qvjvm").replace("\\", "/")
        tools.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def test(self):
        # Cross-compiled, the programs run by Wine, which a profile names so: user.qvjvm:run=wine
        run = self.conf.get("user.qvjvm:run", default="")
        program = os.path.join(self.build_folder, "consumer.exe")
        if run:
            self.run(f'"{run}" "{program}"')
        elif can_run(self):
            self.run(f'"{program}"', env="conanrun")
