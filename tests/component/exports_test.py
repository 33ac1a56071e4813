"""What the library shows to others and asks of them."""

import re
import subprocess
import sys
import unittest

NM, READELF, LIBRARY = sys.argv[1:4]

# Ours to serve with when the platform does not: weak.
FALLBACKS = re.compile(
    r"W (_Z20NS_NewGenericModule2PK12nsModuleInfoPP9nsIModule"
    r"|_ZN8nsMemory5AllocE[jm]|_ZN8nsMemory5CloneEPKv[jm])")

# All exported names, demangled. A unique symbol ("u") would keep the library
# loaded forever.
EXPORTED = re.compile(
    r"[^u] (?:(?:vtable|VTT|typeinfo|typeinfo name) for )?"
    r"(?:(?:NSGetModule|NS_NewGenericModule2|nsMemory::(?:Alloc|Clone)"
    r"|UT_?[A-Za-z]\w*|ut[A-Z]\w*|SYS_?[A-Za-z]\w*|VM_\w+|fpreal16|the[A-Z]\w*"
    r"|strMatch|multiStrMatch|singleStrMatch|stExpandArray|stExpandLetterPattern|stAddName"
    r"|wrapValdrinGetenv|Valdrin(?:Setenv|Putenv|Getenv|Unsetenv|Getenvlist|MakeDirectory)"
    r"|sysmp|sproc|usconfig|msgctl|cftime|fp_class_f|gettimeofday"
    r"|parse_cpuinfo_for_nprocs|getProcMemUsage|intToBigMem)\b(?!_)|"
    r"operator(?:<<|>>|==|!=|<|>|<=|>=)\(.*\b(?:UT_\w+|fpreal16)\b)")

# Asked of others: versioned names, zlib's, and what may be absent.
UNDEFINED = re.compile(
    r". \S+@\S+|U (?:inflate\w*|zError)"
    r"|w (?:NS_Alloc|__gmon_start__|_ITM_\w+TMCloneTable)")
# The loader is not among them: it serves those who look for a thread's data by
# its function. Threads were a library of their own in older C libraries.
LIBRARIES = re.compile(r"lib(?:c|m|pthread|stdc\+\+|gcc_s|z)\.so\.\d+")


def output(*command):
    return subprocess.run([*command, LIBRARY], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


# The dynamic symbols, each a kind, a blank and a name.
def symbols(*options):
    lines = output(NM, "-D", *options).splitlines()
    return [line.lstrip("0123456789abcdef").lstrip() for line in lines]


class Exports(unittest.TestCase):
    def test_every_exported_name_is_meant(self):
        for symbol in symbols("--defined-only", "--demangle"):
            self.assertRegex(symbol, r"\A" + EXPORTED.pattern)
        defined = symbols("--defined-only")
        self.assertIn("T NSGetModule", defined)
        fallbacks = list(filter(None, map(FALLBACKS.fullmatch, defined)))
        self.assertEqual(3, len(fallbacks))
        relocations = output(READELF, "--relocs", "--wide")
        for fallback in fallbacks:
            self.assertIn(fallback[1][:20], relocations)

    def test_it_needs_the_system_libraries_only(self):
        for symbol in symbols("--undefined-only"):
            self.assertTrue(UNDEFINED.fullmatch(symbol), symbol)
        dynamic = output(READELF, "--dynamic", "--wide")
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)
        self.assertTrue(needed)
        for name in needed:
            self.assertTrue(LIBRARIES.fullmatch(name), name)
        self.assertNotRegex(dynamic, r"R(?:UN)?PATH|SYMBOLIC")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
