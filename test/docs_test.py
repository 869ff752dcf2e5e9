"""Compiles and runs what README.md and docs/ show, compares what they say that it prints, and follows their links.

usage: docs_test.py BUILD COMPILER

What a fence is for is its language:
  cpp      with a main, a program; all others of a page, in their order, are the body of a function that is given
           database, a jdbcWrapper connected to an empty H2 database
  text     what the cpp before it prints
  java     a class for the page's programs
  console  commands after "$ " and what they print, where "…" stands for anything; a page's commands share a folder
  cmake    lines of test/consumer/CMakeLists.txt
  python, toml  run by ./run interop
  sh       run by test/bare_debian.sh
"""
import concurrent.futures
import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TREE = pathlib.Path(__file__).resolve().parents[1]
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.S | re.M)
LINK = re.compile(r"\]\((?!https:)([^)#]+)")
CONSUMER = "test/consumer/CMakeLists.txt"
ELSEWHERE = ("python", "sh", "toml")
HEADERS = [f"<{name}>" for name in ("cstdlib", "cstring", "iostream", "regex", "string", "thread", "vector")]
HEADERS += [f'"{path.name}"' for path in sorted((TREE / "include").glob("*.h"))]
FUNCTION = "".join(f"#include {header}\n" for header in HEADERS) + """
int page(jdbcWrapper& database) {
%s
  return 0;
}

int main() {
  std::string jvm = std::getenv("KIVO_JVM"), jars = std::getenv("KIVO_CLASSPATH"), error, url = "jdbc:h2:mem:page";
  if (!javaInit(jvm, jars, 256, error)) return std::cerr << error << '\\n', 1;
  jdbcWrapper database;
  if (!database.setUrl("", "", "", "", "", url) || !database.getConnection("", "") || !database.getStatement()) {
    return std::cerr << database.errorMessage << '\\n', 1;
  }
  const int result = page(database);
  database.closeConnection();
  return result;
}
"""


class Page:
    """One page, with a folder for its programs and commands."""

    def __init__(self, path, folder, build, compiler):
        self.name = path.relative_to(TREE).as_posix()
        self.folder, self.build, self.compiler = folder, build, compiler
        text = path.read_text()
        self.fences = FENCE.findall(text)
        links = LINK.findall(FENCE.sub("", text))
        self.faults = [f"{self.name}: no file {link}" for link in links if not (path.parent / link).exists()]
        self.count = 0
        (folder / "build").mkdir(parents=True)
        (folder / "build" / "release").symlink_to(build)
        (folder / "examples").symlink_to(TREE / "examples")
        java = build / "share" / "java"
        jars = [java / "kivo-jdbc.jar", "/usr/share/java/h2.jar", "/usr/share/java/postgresql.jar", folder]
        self.environment = dict(os.environ, KIVO_CLASSPATH=":".join(map(str, jars)), LC_ALL="C.UTF-8",
                                PATH=f"{build / 'bin'}:{os.environ['PATH']}")

    def run(self):
        programs, last = [], None
        statements = ["", ""]
        for language, text in self.fences:
            if language == "cpp" and "int main(" in text:
                last = [text, None]
                programs.append(last)
            elif language == "cpp":
                last = statements
                last[0] += text
            elif language == "text" and last:
                last[1] = (last[1] or "") + text
            elif language == "java":
                self.compile_java(text)
            elif language == "console":
                self.converse(text)
            elif language == "cmake":
                stripped = [line.strip() for line in (TREE / CONSUMER).read_text().splitlines()]
                self.expect(CONSUMER, text, "".join(f"{line}\n" for line in text.splitlines() if line in stripped))
            elif language not in ELSEWHERE and language != "text":
                self.faults.append(f"{self.name}: what is a fence of \"{language}\"?")
        if statements[0]:
            programs.append([FUNCTION % statements[0], statements[1]])
        for number, (program, output) in enumerate(programs):
            self.run_program(f"program{number}", program, output)
        return self

    def expect(self, what, expected, found):
        self.count += 1
        if re.fullmatch(re.escape(expected).replace("…", ".*"), found):
            return
        lines = difflib.unified_diff(expected.splitlines(), found.splitlines(), "on the page", "found", lineterm="")
        self.faults.append("\n".join([f"{self.name}: {what}", *lines]))

    def finish(self, *command):
        """Runs a command in the page's folder. Returns what it printed, or None after a failure."""
        done = subprocess.run(command, cwd=self.folder, env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode == 0:
            return done.stdout
        self.faults.append(f"{self.name}: {command[0]} ended with {done.returncode}\n{done.stdout}{done.stderr}")
        return None

    def compile_java(self, text):
        name = re.search(r"class (\w+)", text)[1]
        (self.folder / f"{name}.java").write_text(text)
        self.finish(f"{os.environ['JAVA_HOME']}/bin/javac", "-Xlint:all", "-Werror", "-d", ".", f"{name}.java")

    def run_program(self, name, text, output):
        (self.folder / f"{name}.cpp").write_text(text)
        jni = f"{os.environ['JAVA_HOME']}/include"
        library = self.build / "lib"
        compiled = self.finish(
            self.compiler, "-std=c++17", "-Wall", "-Wextra", "-Werror", f"{name}.cpp", "-o", name,
            f"-I{TREE / 'include'}", f"-I{jni}", f"-I{jni}/linux", f"-L{library}", "-lkivo_java_native_lib",
            "-lkivo_system_lib", "-pthread", f"-Wl,-rpath,{library}")
        found = None if compiled is None else self.finish(f"./{name}")
        if found is not None and output is not None:
            self.expect(name, output, found)

    def converse(self, text):
        found = ""
        for command in re.findall(r"^\$ (.*)$", text, re.M):
            done = subprocess.run(["sh", "-c", command], cwd=self.folder, env=self.environment, text=True, check=False,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            found += f"$ {command}\n{done.stdout}"
        self.expect("a session", text, found)


def main():
    build, compiler = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
    paths = [TREE / "README.md", *sorted((TREE / "docs").glob("*.md"))]
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        pages = [Page(path, pathlib.Path(folder) / path.stem, build, compiler) for path in paths]
        for page in pool.map(Page.run, pages):
            print(f"{'not ok' if page.faults else 'ok'}: {page.name}, {page.count} outputs compared")
            for fault in page.faults:
                print(fault)
    sys.exit(any(page.faults for page in pages))


main()
