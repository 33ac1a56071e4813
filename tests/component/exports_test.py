"""What the library shows to others and asks of them.

Usage: exports_test.py NM READELF LIBRARY
"""

import re
import subprocess
import sys
import unittest

NM, READELF, LIBRARY = sys.argv[1:4]

# Ours to serve with when the platform does not: weak.
FALLBACKS = re.compile(
    r"_Z20NS_NewGenericModule2PK12nsModuleInfoPP9nsIModule"
    r"|_ZN8nsMemory5AllocE[jm]|_ZN8nsMemory5CloneEPKv[jm]")

# The toolkit's names, demangled.
TOOLKIT = re.compile(
    r"(?:(?:vtable|VTT|typeinfo|typeinfo name) for )?"
    r"(?:UT_?[A-Za-z]\w*|ut[A-Z]\w*|SYS_?[A-Za-z]\w*|VM_\w+|fpreal16"
    r"|the[A-Z]\w*"
    r"|Valdrin(?:Setenv|Putenv|Getenv|Unsetenv|Getenvlist|MakeDirectory)"
    r"|sysmp|sproc|usconfig|msgctl|cftime|fp_class_f|gettimeofday"
    r"|parse_cpuinfo_for_nprocs)\b(?!_)|"
    r"operator(?:<<|>>|==|!=|<|>|<=|>=)\(.*\b(?:UT_\w+|fpreal16)\b")

LIBRARIES = re.compile(
    r"lib(?:c|m|pthread|stdc\+\+|gcc_s|z)\.so\.\d+|ld-linux.*\.so\.\d+")

# Undefined names without a version, beside zlib's: the platform's allocator
# and what the compiler's start-up code asks for, all of them weak.
WEAK = {"NS_Alloc", "__gmon_start__", "_ITM_deregisterTMCloneTable",
        "_ITM_registerTMCloneTable"}
ZLIB = re.compile(r"inflate\w*|zError")


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE,
                          text=True).stdout


def symbols(*options):
    """(kind, name) of each dynamic symbol."""
    lines = output(NM, "-D", *options, LIBRARY).splitlines()
    return [tuple(line.split(None, 2)[-2:] if line[0] != " "
                  else line.split(None, 1)) for line in lines]


class Exports(unittest.TestCase):
    def test_every_exported_name_is_meant(self):
        mangled = symbols("--defined-only")
        plain = symbols("--defined-only", "--demangle")
        self.assertGreater(len(mangled), 50)
        for (kind, name), (_, readable) in zip(mangled, plain):
            with self.subTest(name=readable):
                if FALLBACKS.fullmatch(name):
                    self.assertEqual("W", kind)
                    continue
                # A unique symbol would keep the library loaded for ever.
                self.assertNotEqual("u", kind)
                if name != "NSGetModule":
                    self.assertRegex(readable, r"\A" + TOOLKIT.pattern)
        names = [name for _, name in mangled]
        self.assertIn("NSGetModule", names)
        self.assertEqual(3, sum(map(bool, map(FALLBACKS.fullmatch, names))))

    def test_the_fallbacks_are_called_through_their_symbols(self):
        relocations = output(READELF, "--relocs", "--wide", LIBRARY)
        for name in {name for _, name in symbols("--defined-only")
                     if FALLBACKS.fullmatch(name)}:
            self.assertIn(name[:20], relocations)
        dynamic = output(READELF, "--dynamic", "--wide", LIBRARY)
        self.assertNotIn("SYMBOLIC", dynamic)

    def test_only_weak_names_may_stay_undefined(self):
        for kind, name in symbols("--undefined-only"):
            if "@" in name or ZLIB.fullmatch(name):
                continue
            with self.subTest(name=name):
                self.assertEqual("w", kind)
                self.assertIn(name, WEAK)

    def test_it_needs_the_system_libraries_only(self):
        dynamic = output(READELF, "--dynamic", "--wide", LIBRARY)
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)
        self.assertTrue(needed)
        for name in needed:
            self.assertRegex(name, r"\A(?:" + LIBRARIES.pattern + r")\Z")
        self.assertNotRegex(dynamic, r"R(?:UN)?PATH")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
