"""What "cmake --install" gives: components, a prefix that can be moved, packages for CMake and pkg-config.

    install_test.py SOURCES BUILD CMAKE COMPILER
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCES, BUILD, CMAKE, COMPILER = sys.argv[1:5]

# A file of each kind, and the component that it is in.
PLACES = [
    ("runtime", r"lib\S*/libciapi\.so\.0"),
    ("runtime", r"lib\S*/libtvplatform\.so\.0"),
    ("runtime", r"share/dbus-1/system\.d/com\.kelvora\.ciapi\.conf"),
    ("runtime", r"share/doc/ciapi/LICENSE"),
    ("development", r"lib\S*/libciapi\.so"),
    ("development", r"include/ciapi/CIService\.h"),
    ("development", r"include/tvplatform/Types\.h"),
    ("development", r"lib\S*/cmake/ciapi/ciapi-config\.cmake"),
    ("development", r"share/man/man7/ciapi\.7"),
    ("testing", r"lib\S*/libciapi-testing\.so\.0"),
    ("testing", r"lib\S*/cmake/ciapi/ciapi-testing-targets\.cmake"),
    ("tools", r"bin/cictl"),
    ("tools", r"bin/ci-daemon-sim"),
    ("tools", r"share/ciapi/scenarios/menu-walk\.json"),
    ("tools", r"lib\S*/wireshark/plugins/ciapi\.lua"),
    ("tools", r"share/man/man1/cictl\.1"),
    ("tools", r"share/man/man5/ciapi-scenario\.5"),
    ("tools", r"lib/systemd/system/ci-daemon-sim\.service"),
    ("tools", r"lib/sysusers\.d/ciapi\.conf"),
    ("python", r"lib/python3\S*/dist-packages/ciapi/_ciapi\.\S+\.so"),
    ("python", r"lib/python3\S*/dist-packages/ciapi/__init__\.pyi"),
    ("python", r"lib/python3\S*/dist-packages/ciapi/_controls\.py"),
    ("python", r"lib/python3\S*/dist-packages/ciapi-\S*\.dist-info/entry_points\.txt"),
    ("documentation", r"share/doc/ciapi/docs/testing\.md"),
    ("documentation", r"share/doc/ciapi/docs/tasks/put-it-on-a-set\.md"),
    ("documentation", r"share/doc/ciapi/examples/consumer/main\.cpp"),
]
COMPONENTS = sorted({component for component, _ in PLACES})

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(outside LANGUAGES CXX)
find_package(ciapi REQUIRED {components})
add_executable(my-app my-app.cpp)
target_link_libraries(my-app PRIVATE ciapi::ciapi)
get_target_property(platform ciapi::tvplatform IMPORTED_LOCATION)
message(STATUS "platform: ${{platform}}")
"""


def run(*command, **options):
    result = subprocess.run(list(map(str, command)), text=True, timeout=180, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, **options)
    return result.returncode, result.stdout


def must(*command, **options):
    status, output = run(*command, **options)
    assert status == 0, f"{command}: {status}\n{output}"
    return output


def install(prefix, *components, build=BUILD, **environment):
    for component in components or [None]:
        must(CMAKE, "--install", build, "--prefix", prefix, *(["--component", component] if component else []),
             env={**os.environ, **environment})


def files_in(folder):
    return sorted(str(file.relative_to(folder)) for file in folder.rglob("*") if not file.is_dir())


def program_of(page):
    return re.search(r"```cpp\n(.*?)```", pathlib.Path(SOURCES, page).read_text(), re.S).group(1)


def program_of_readme():
    return program_of("README.md")


class Install(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="ciapi-install-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def moved(self, *components):
        """A prefix that lies elsewhere than where it was installed."""
        install(self.folder / "made", *components)
        return (self.folder / "made").rename(self.folder / "moved")

    def configure(self, components, *options):
        project = self.folder / "project"
        project.mkdir(exist_ok=True)
        (project / "CMakeLists.txt").write_text(PROJECT.format(components=components))
        (project / "my-app.cpp").write_text(program_of_readme())
        return run(CMAKE, "-G", "Ninja", "-S", project, "-B", project / "build", f"-DCMAKE_CXX_COMPILER={COMPILER}",
                   "-DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON", *options)

    def test_every_file_is_in_one_component(self):
        install(self.folder / "whole")
        apart = []
        for component in COMPONENTS:
            install(self.folder / component, component)
            files = files_in(self.folder / component)
            apart += files
            for owner, place in PLACES:
                self.assertEqual(any(re.fullmatch(place, file) for file in files), owner == component,
                                 f"{place} in {component}")
        self.assertEqual(sorted(apart), files_in(self.folder / "whole"))

    def test_components_by_name(self):
        prefix = self.moved("runtime", "development")
        for components, sentence in [
            ("COMPONENTS nonsense", 'there is no component "nonsense"; there are ciapi, tvplatform, testing'),
            ("COMPONENTS ciapi testing", 'component "testing" is not installed here'),
            ("COMPONENTS ciapi OPTIONAL_COMPONENTS nonsense testing", None),
        ]:
            status, output = self.configure(components, f"-DCMAKE_PREFIX_PATH={prefix}", "--fresh")
            self.assertEqual(status != 0, sentence is not None, output)
            self.assertIn(sentence or "", " ".join(output.split()))

    def compile(self, page, name, prefix):
        """The page's program, by the page's own lines."""
        [package] = prefix.rglob("ciapi.pc")
        (self.folder / f"{name}.cpp").write_text(program_of(page))
        lines = re.findall(r"^g\+\+ .*(?:\\\n.*)*", pathlib.Path(SOURCES, page).read_text(), re.M)
        self.assertTrue(lines, f"{page} has no compile line")
        for line in lines:
            line = re.sub(r"#.*", "", line).replace("g++", COMPILER, 1)
            must("sh", "-c", line, cwd=self.folder, env={**os.environ, "PKG_CONFIG_PATH": str(package.parent)})

    def test_what_the_task_pages_compile_is_a_program(self):
        prefix = self.moved("runtime", "development", "testing")
        for page in sorted(pathlib.Path(SOURCES, "docs/tasks").glob("*.md")):
            self.compile(page, page.stem, prefix)
            self.assertTrue((self.folder / page.stem).exists(), f"{page.name} makes something else")

    def test_what_the_readme_compiles_runs(self):
        prefix = self.moved("runtime", "development")
        self.compile("README.md", "my-app", prefix)
        output = must(f"{BUILD}/bin/ci-daemon-sim", "run", "--", "./my-app", cwd=self.folder)
        self.assertIn("slot 0: CAM_STATUS_READY", output)
        loaded = must("ldd", "./my-app", cwd=self.folder)
        for library in ("libciapi.so.0", "libtvplatform.so.0"):
            self.assertRegex(loaded, f"{library} => {prefix.resolve()}/")

    def test_usr_needs_no_run_path(self):
        install("/usr", DESTDIR=str(self.folder))
        checked = 0
        for file in self.folder.rglob("*"):
            if file.is_file() and not file.is_symlink() and file.open("rb").read(4) == b"\x7fELF":
                self.assertNotRegex(must("readelf", "--dynamic", file), "RPATH|RUNPATH", str(file))
                checked += 1
        self.assertEqual(checked, 6, "three libraries, two programs, a module for Python")

    def test_the_service_is_fenced_in_and_its_users_can_be_made(self):
        install(self.folder / "set", "tools")
        must("systemd-analyze", "security", "--offline=true", "--threshold=30",  # tenths
             self.folder / "set/lib/systemd/system/ci-daemon-sim.service")
        (self.folder / "root/etc").mkdir(parents=True)
        if os.geteuid() == 0:
            must("systemd-sysusers", f"--root={self.folder}/root", self.folder / "set/lib/sysusers.d/ciapi.conf")
            self.assertRegex((self.folder / "root/etc/passwd").read_text(), r"(?m)^ci-daemon:")
            self.assertRegex((self.folder / "root/etc/group").read_text(), r"(?m)^ciapi:")

    def test_a_system_platform_is_exported_as_it_was_given(self):
        prefix = self.moved("runtime", "development")
        [package] = prefix.rglob("ciapi.pc")
        libraries = package.parent.parent
        platform = self.folder / "platform"
        (platform / "include").mkdir(parents=True)
        (prefix / "include/tvplatform").rename(platform / "include/tvplatform")
        (platform / "lib").mkdir()
        for file in libraries.glob("libtvplatform.so*"):
            file.rename(platform / "lib" / file.name)
        build = self.folder / "system"
        must(CMAKE, "-G", "Ninja", "-S", SOURCES, "-B", build, f"-DCMAKE_CXX_COMPILER={COMPILER}",
             "-DCIAPI_PLATFORM=system", f"-DTVPLATFORM_INCLUDE_DIR={platform}/include",
             f"-DTVPLATFORM_LIBRARY={platform}/lib/libtvplatform.so", "-DCIAPI_BUILD_TOOLS=OFF",
             "-DCIAPI_BUILD_TESTS=OFF", "-DCIAPI_BUILD_EXAMPLES=OFF")
        # The library's code does not differ: it is not built once more.
        (build / "lib").mkdir(exist_ok=True)
        for file in libraries.glob("libciapi.so*"):
            shutil.copy(file, build / "lib", follow_symlinks=False)
        set_prefix = self.folder / "set"
        install(set_prefix, "development", build=build)
        for file in libraries.glob("libciapi.so.*"):
            shutil.copy(file, set_prefix / "lib", follow_symlinks=False)
        self.assertFalse(list(set_prefix.rglob("*tvplatform*")), "it is the platform's own")

        status, output = self.configure("", f"-DCMAKE_PREFIX_PATH={set_prefix}", "--fresh")
        self.assertEqual(status, 0, output)
        self.assertIn(f"platform: {platform}/lib/libtvplatform.so", output)
        must(CMAKE, "--build", self.folder / "project/build")
        flags = must("pkg-config", "--cflags", "--libs", "ciapi",
                     env={**os.environ, "PKG_CONFIG_PATH": str(set_prefix / "lib/pkgconfig")})
        self.assertIn(f"-I{platform}/include ", flags)
        self.assertIn(f"-L{platform}/lib -ltvplatform", flags)

        platform.rename(self.folder / "gone")
        status, output = self.configure("", f"-DCMAKE_PREFIX_PATH={set_prefix}", "--fresh")
        self.assertNotEqual(status, 0)
        self.assertIn("set TVPLATFORM_INCLUDE_DIR and TVPLATFORM_LIBRARY", " ".join(output.split()))


unittest.main(argv=sys.argv[:1])
