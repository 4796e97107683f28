"""The packages beside the zip: made, compared with the zip's files, and used as far as they can be here.

packages.py KIND ROOT BUILD ZIP FOLDER     KIND: interface, sbom, nuget, conan, vcpkg, sign, symbols, release; FOLDER is
emptied
"""
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as xml
import zipfile

KIND, ROOT, BUILD, ZIP, FOLDER = sys.argv[1], *map(pathlib.Path, sys.argv[2:6])
SETTINGS = dict(re.findall(r"^(\w+):\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE))
CACHE = pathlib.Path(SETTINGS["QV_RUNTIMES_DIR"]).parent


def run(*command, expected=0, **options):
    done = subprocess.run([str(part) for part in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False,
                          **options)
    if (done.returncode == 0) != (expected == 0):
        sys.exit(f"exit code {done.returncode} from: {' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


def expect(condition, text):
    if not condition:
        sys.exit(f"not so: {text}")


def unpack():
    """The zip's folder, whose name has the version."""
    with zipfile.ZipFile(ZIP) as archive:
        archive.extractall(FOLDER)
    return FOLDER / ZIP.stem


def version():
    return re.fullmatch(r"qvjvm-([\d.]+)-win64", ZIP.stem).group(1)


def files(folder):
    return {path.relative_to(folder).as_posix(): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def expect_same(there, here, what):
    expect(there.keys() == here.keys(), f"{what} have the same files: {sorted(there.keys() ^ here.keys())}")
    expect(not [name for name in there if there[name] != here[name]], f"{what} have the same content")


def python(*command, cache, **environment):
    return run(sys.executable, *command, env={**os.environ, "PYTHONPATH": str(CACHE / cache), **environment})


def compiler():
    return SETTINGS["QV_CXX_COMPILER"]


# ---- interface ----

def interface():
    print(run(sys.executable, ROOT / "packaging/interface/interface", "check", BUILD))
    told = run(sys.executable, ROOT / "packaging/interface/interface", "dump", BUILD).splitlines()
    for line in ("export qvjvm.dll QV_CreateJavaVM", "export qvshr.dll @1", "constant QV_CODE_CALL_FAILED = ((int32_t)-1001)",
                 "record ErrorRecord = size 1028 align 4", "record IQV_JavaVMVtbl = size 488 align 8"):
        expect(line in told, f"the interface has '{line}'")
    expect(any(line.startswith("member IQV_JavaVMVtbl.AcquireThreadEnv = at 480: ") for line in told), "its last slot is at 480")
    # A host of the release before would not find this one's function.
    changed = FOLDER / "releases"
    changed.mkdir()
    lines = [line.replace("IQV_JavaVMVtbl.AcquireThreadEnv = at 480", "IQV_JavaVMVtbl.AcquireThreadEnv = at 472") for line in told]
    (changed / "0.9.0.txt").write_text("\n".join(lines) + "\n")
    (changed / f"{int(version().split('.')[0])}.0.0.txt").write_text("\n".join(lines) + "\n")
    refused = run(sys.executable, ROOT / "packaging/interface/interface", "check", BUILD, changed, expected=1)
    expect("AcquireThreadEnv" in refused and "such changes need" in refused, f"a moved slot is told: {refused}")


# ---- bill of materials ----

def sbom():
    package = unpack()
    out = FOLDER / "bill.json"
    bill = []
    for _ in range(2):
        python(ROOT / "packaging/sbom", package, compiler(), BUILD, out, cache="sbom", SOURCE_DATE_EPOCH="1700000000")
        bill.append(out.read_text())
    expect(bill[0] == bill[1], "two bills of one package are equal")
    told = json.loads(bill[0])
    expect(told["metadata"]["component"]["version"] == version(), "it has the product's version")
    sums = {part["name"]: part["hashes"][0]["content"] for part in told["components"] if part["type"] == "file"}
    expect(sums == {f"bin/{name}": hashlib.sha256(data).hexdigest() for name, data in files(package / "bin").items()},
           "it has the checksum of each file in bin")
    names = {part["name"]: part for part in told["components"]}
    for name in ("libstdc++", "libgcc", "mingw-w64", "winpthreads", "nlohmann-json", "CLI11"):
        expect(re.fullmatch(r"\d+\.\d+(\.\d+)?", names[name]["version"]), f"{name} has a version: {names[name]['version']}")
    wants = {entry["ref"]: set(entry.get("dependsOn", [])) for entry in told["dependencies"]}
    expect(not [name for name in wants["file:bin/qvjvm.dll"] if name.startswith("CLI11")], "the service has no command line")
    expect([name for name in wants["file:bin/qvjvm-doctor.exe"] if name.startswith("CLI11")], "the doctor has one")


# ---- NuGet ----

def xml_names(path):
    """All elements, without their name space."""
    return [(re.sub(r"{.*}", "", node.tag), node) for node in xml.parse(path).iter()]


def text_of(path, name):
    return next(node.text for tag, node in xml_names(path) if tag == name)


def nuget():
    package = unpack()
    library = BUILD / "csharp/Qvjvm.Client.dll"
    made = FOLDER / "made"
    run(sys.executable, ROOT / "packaging/nuget/make", package, made, *([library] if library.exists() else []))
    expected = {f"qvjvm.native.{version()}.nupkg"} | ({f"Qvjvm.{version()}.nupkg"} if library.exists() else set())
    expect(set(files(made)) == expected, f"the packages are {expected}")
    for path in made.iterdir():
        folder = FOLDER / path.stem
        with zipfile.ZipFile(path) as archive:
            archive.extractall(folder)
        form_of_package(folder, path.stem.split(f".{version()}")[0])
    native = FOLDER / f"qvjvm.native.{version()}/build/native"
    for part in ("include", "bin"):
        expect_same(files(native / part), files(package / part), f"{part} of the NuGet package and of the zip")
    targets = native / "qvjvm.native.targets"
    named = re.findall(r"\$\(MSBuildThisFileDirectory\)([\w\\.-]+)", targets.read_text())
    expect(len(named) >= 5, "the targets name files of the package")
    for name in named:
        expect((native / name.replace("\\", "/")).exists(), f"{name}, which the targets name, is there")
    if shutil.which("nuget"):
        install_by_nuget(made, package)
    if shutil.which("xbuild"):
        build_with_targets(targets)


def form_of_package(folder, name):
    spec = folder / f"{name}.nuspec"
    expect(text_of(spec, "id") == name and text_of(spec, "version") == version(), "the nuspec has name and version")
    for tag in ("license", "readme"):
        expect((folder / text_of(spec, tag)).exists(), f"the {tag} is there")
    types = xml_names(folder / "[Content_Types].xml")
    known = {node.get("Extension") for tag, node in types if tag == "Default"}
    parts = {node.get("PartName").lstrip("/") for tag, node in types if tag == "Override"}
    for path in files(folder):
        expect(path in parts or pathlib.PurePath(path).suffix[1:] in known or path in ("[Content_Types].xml", "_rels/.rels"),
               f"{path} has a content type")
    for tag, node in xml_names(folder / "_rels/.rels"):
        expect(tag != "Relationship" or (folder / node.get("Target").lstrip("/")).exists(), f"{node.get('Target')} is there")


def install_by_nuget(made, package):
    home = {**os.environ, "HOME": str(FOLDER)}
    print(run("nuget", "install", "qvjvm.native", "-Source", made, "-OutputDirectory", FOLDER / "installed", env=home))
    there = next((FOLDER / "installed").glob("qvjvm.native*")) / "build/native/bin"
    expect_same(files(there), files(package / "bin"), "bin after nuget's installation and that of the zip")


PROJECT = """<Project DefaultTargets="Build" xmlns="http://schemas.microsoft.com/developer/msbuild/2003">
  <PropertyGroup><OutDir>{out}/</OutDir></PropertyGroup>
  <Target Name="PrepareForBuild" />
  <Target Name="Build" DependsOnTargets="PrepareForBuild" />
  <Import Project="{props}" />
  <Import Project="{targets}" />
</Project>
"""


def build_with_targets(targets):
    out = FOLDER / "program"
    project = FOLDER / "host.proj"
    project.write_text(PROJECT.format(out=out, targets=targets, props=ROOT / "tests/package/link.props"))
    run("xbuild", "/p:Platform=x64", project)
    expect(set(files(out)) == {"qvjvm.dll", "qvshr.dll"}, "the build puts the DLLs beside the program")
    refused = run("xbuild", "/p:Platform=Win32", project, expected=1)
    expect("64-bit Windows" in refused, f"another platform is refused: {refused}")


# ---- Conan ----

def conan():
    home = {"CONAN_HOME": str(FOLDER / "home")}

    def call(*arguments):
        return python("-c", "from conan.cli.cli import main; import sys; main(sys.argv[1:])", *arguments, cache="conan", **home)

    call("profile", "detect")
    recipe = ROOT / "packaging/conan"
    major = run(compiler(), "-dumpversion").split("-")[0].strip()
    profile = ["--profile:host", recipe / "mingw", "--profile:build", "default", "-s", f"compiler.version={major}",
               "-c", f"user.qvjvm:run={ROOT / 'tools/wine-run'}"]
    # It builds where it lies.
    user = FOLDER / "user"
    shutil.copytree(recipe / "test_package", user)
    profile += ["--test-folder", user]
    created = os.environ.get("QV_NIGHTLY") == "1"
    if created:
        told = call("create", recipe, *profile)
    else:
        # The same but for the building, which this build did already.
        told = call("export-pkg", recipe, *profile, "-c", f"user.qvjvm:build={BUILD}")
    print(told)
    expect(re.search(r"^Java 17\..*, 17\r?$", told, re.MULTILINE), "the program that used the package ran")
    stored = next(path for path in (FOLDER / "home/p").rglob("qvjvm.dll") if path.parts[-3:-1] == ("p", "bin")).parent.parent
    package = unpack()
    expect_same(files(stored / "include"), files(package / "include"), "include of Conan's package and of the zip")
    if not created:
        expect_same(files(stored / "bin"), files(package / "bin"), "bin of Conan's package and of the zip")
        sources = next((FOLDER / "home/p").glob("*/es"))
        run("cmake", "-G", "Ninja", "-S", sources, "-B", FOLDER / "configured", "-DQV_TESTS=OFF", "-DCMAKE_BUILD_TYPE=Release",
            f"-DCMAKE_TOOLCHAIN_FILE={ROOT / 'cmake/mingw-w64.cmake'}")


# ---- vcpkg ----

def vcpkg():
    port = ROOT / "packaging/vcpkg/qvjvm"
    manifest = json.loads((port / "vcpkg.json").read_text())
    expect(manifest["name"] == "qvjvm" and manifest["version-semver"] == version(), "the port has the product's version")
    # What vcpkg's functions do with a port, as far as this one calls them; vcpkg itself is not to be had here.
    script = ROOT / "tests/package/vcpkg.cmake"
    run("cmake", f"-DPORT_FOLDER={port}", f"-DBUILD={BUILD}", f"-DPREFIX={FOLDER / 'installed'}", "-P", script)
    package = unpack()
    installed = FOLDER / "installed"
    for part in ("include", "bin"):
        expect_same(files(installed / part), files(package / part), f"{part} of the port and of the zip")
    expect((installed / "share/qvjvm/copyright").read_text() == (ROOT / "LICENSE").read_text(), "the license is where vcpkg wants it")
    expect((installed / "share/qvjvm/usage").exists(), "it tells its use")
    consumer = FOLDER / "consumer"
    run("cmake", "-G", "Ninja", "-S", ROOT / "packaging/conan/test_package", "-B", consumer, f"-DCMAKE_TOOLCHAIN_FILE={ROOT / 'cmake/mingw-w64.cmake'}",
        f"-Dqvjvm_DIR={installed / 'share/qvjvm'}", "-DCMAKE_BUILD_TYPE=Release")
    run("cmake", "--build", consumer)
    told = run(ROOT / "tools/wine-run", consumer / "consumer.exe")
    expect(re.search(r"^Java 17\..*, 17\r?$", told, re.MULTILINE), f"the program that used the port ran: {told}")


# ---- signatures ----

def sign():
    program = BUILD / "bin/docs_minimal.exe"
    for name in ("qvjvm.dll", "qvshr.dll"):
        shutil.copy(BUILD / "bin" / name, FOLDER)
    shutil.copy(program, FOLDER)
    keys = FOLDER / "keys"
    keys.mkdir()
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=Nobody you know", "-addext",
        "extendedKeyUsage=codeSigning", "-keyout", keys / "key.pem", "-out", keys / "certificate.pem")
    run("openssl", "pkcs12", "-export", "-inkey", keys / "key.pem", "-in", keys / "certificate.pem", "-passout", "pass:secret word", "-out",
        keys / "certificate.p12")

    def sign_with(password, expected=0):
        return run(ROOT / "tools/sign", keys / "certificate.p12", FOLDER, env={**os.environ, "QV_SIGN_PASSWORD": password},
                   expected=expected)

    before = files(FOLDER)
    sign_with("a wrong one", expected=1)
    expect(files(FOLDER) == before, "a wrong password changes no file")
    sign_with("secret word")
    for name in ("qvjvm.dll", "qvshr.dll", program.name):
        told = run("osslsigncode", "verify", "-CAfile", keys / "certificate.pem", FOLDER / name)
        expect("Nobody you know" in told, f"{name} names who signed it")
        with (FOLDER / name).open("r+b") as file:
            file.seek(0x400)
            byte = file.read(1)
            file.seek(0x400)
            file.write(bytes([byte[0] ^ 1]))
        run("osslsigncode", "verify", "-CAfile", keys / "certificate.pem", FOLDER / name, expected=1)
        with (FOLDER / name).open("r+b") as file:
            file.seek(0x400)
            file.write(byte)
    told = run(ROOT / "tools/run-with-java", FOLDER / program.name, "17")
    expect("2147483647" in told, f"the signed program runs with the signed DLLs: {told}")


# ---- symbols, where the compiler makes PDBs ----

def symbols():
    """A debugger finds function, file and line of each thing that is exported, the file under the name of the source archive."""
    exported = 0
    for pdb in sorted((BUILD / "bin").glob("*.pdb")):
        [binary] = [file for file in pdb.parent.glob(f"{pdb.stem}.*") if file.suffix in (".dll", ".exe")]
        number = re.search(rb"RSDS(.{16}).{4}" + re.escape(pdb.name.encode()) + b"\0", binary.read_bytes(), re.DOTALL)
        expect(number and number[1] in pdb.read_bytes(), f"{binary.name} is the file that {pdb.name} belongs to")
        expect(str(BUILD).encode() not in pdb.read_bytes(), f"{pdb.name} does not know its folder")
        for block in run("llvm-readobj", "--coff-exports", binary).split("Export {")[1:]:
            ordinal, address = (re.search(rf"{key}: (.*)\n", block).group(1) for key in ("Ordinal", "RVA"))
            if address == "0x0":
                continue  # a number that nothing has
            function, place = run("llvm-symbolizer", "--relative-address", f"--obj={binary}", address).splitlines()[:2]
            source = re.fullmatch(rf"/qvjvm-{version()}/(.+):(\d+):0", place)
            expect(source and (ROOT / source[1]).is_file(), f"export {ordinal} of {binary.name} has a line of its source: {function}, {place}")
            exported += 1
    expect(exported > 0, "there are exports with symbols")


# ---- a release ----

def release():
    tree = FOLDER / "tree"
    tree.mkdir()
    names = run("git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", cwd=ROOT).split("\0")
    for name in filter(None, names):
        if (ROOT / name).is_file():
            (tree / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, tree / name)
    git = ["git", "-C", tree, "-c", "user.name=nobody", "-c", "user.email=nobody@localhost"]
    run(*git, "init", "-q")

    def commit(text):
        run(*git, "add", "-A")
        run(*git, "commit", "-q", "-m", text)

    def make(expected=0):
        symbols = [BUILD] if (BUILD / "bin/qvjvm.pdb").exists() else []
        return run(tree / "release", "--from", BUILD, *symbols, expected=expected, env={**os.environ, "QV_CACHE": str(CACHE)})

    commit("as it is")
    changes = (tree / "CHANGELOG.md").read_text()
    (tree / "CHANGELOG.md").write_text(changes + "\nnot committed\n")
    expect("CHANGELOG.md" in make(expected=1), "a tree with changes is refused, and they are named")
    (tree / "CHANGELOG.md").write_text(changes.replace(f"## {version()}\n", "## another\n"))
    commit("no notes")
    expect("no changes under" in make(expected=1), "a release without notes is refused")
    expect(not (tree / "out").exists(), "a release that is refused leaves nothing")
    (tree / "CHANGELOG.md").write_text(changes)
    commit("with notes")
    make()
    out = tree / "out/release" / version()
    name = f"qvjvm-{version()}-win64"
    wanted = {f"{name}.zip", f"{name}.cdx.json", f"qvjvm-{version()}-source.zip", f"qvjvm-{version()}-interface.txt",
              f"qvjvm.native.{version()}.nupkg", "notes.md", "SHA256SUMS"}
    if shutil.which("cargo"):
        wanted.add(f"qvjvm-{version()}.crate")
    if (BUILD / "csharp/Qvjvm.Client.dll").exists():
        wanted.add(f"Qvjvm.{version()}.nupkg")
    if (BUILD / "bin/qvjvm.pdb").exists():
        wanted.add(f"{name}-symbols.zip")
    expect(wanted <= set(files(out)), f"the release has all files: {sorted(wanted - set(files(out)))}")
    run("sha256sum", "--check", "--strict", "SHA256SUMS", cwd=out)
    expect(len((out / "SHA256SUMS").read_text().splitlines()) == len(files(out)) - 1, "each file has a checksum")
    notes = (out / "notes.md").read_text()
    expect(notes.strip() and notes.strip() in changes and "## " not in notes, "the notes are those of this version")
    with zipfile.ZipFile(out / f"{name}.zip") as archive:
        inside = {entry: archive.read(entry) for entry in archive.namelist()}
    with zipfile.ZipFile(ZIP) as archive:
        expect(inside == {entry: archive.read(entry) for entry in archive.namelist()}, "the zip has the files of this build")
    with zipfile.ZipFile(out / f"qvjvm-{version()}-source.zip") as archive:
        expect(f"qvjvm-{version()}/CMakeLists.txt" in archive.namelist(), "the source has its build rules")
    if (out / f"{name}-symbols.zip").exists():
        with zipfile.ZipFile(out / f"{name}-symbols.zip") as archive:
            expect({entry: archive.read(entry) for entry in archive.namelist()} ==
                   {f"{name}-symbols/{file.name}": file.read_bytes() for pdb in (BUILD / "bin").glob("*.pdb")
                    for file in pdb.parent.glob(f"{pdb.stem}.*") if file.suffix in (".pdb", ".dll", ".exe")},
                   "the symbols are those of the build, with the files that they belong to")
    expect("there already" in make(expected=1), "a release is not made over one that is there")


shutil.rmtree(FOLDER, ignore_errors=True)
FOLDER.mkdir(parents=True)
{function.__name__: function for function in (interface, sbom, nuget, conan, vcpkg, sign, symbols, release)}[KIND]()
shutil.rmtree(FOLDER)
