#!/usr/bin/env python3
"""Checks the data files of the catalogue and the error table before the generator sees them.

    tools/check_tables.py [--root DIR]     report on component/catalogue/*.cat and base/errors.cat
    tools/check_tables.py --self-test      run the checker's own tests

Prints the counts by kind, then every problem found: duplicate names, stable numbers, error
numbers and resource ids, gaps in the variable indexes, malformed message inserts, values out of
their range. The exit status is 1 when a problem was found, 0 otherwise. Standard library only.
"""

import argparse
import os
import re
import sys
import unittest

# What the descriptor tables must hold.
N_CONSTANTS = {"int": 420, "text": 58, "zero": 147}
N_STABLE_MIN, N_STABLE_MAX = 101, 4839
TAB_VARIABLE_INDEXES = [n for n in range(0x01, 0x37) if n != 0x2E]
SET_VARIABLE_CODES = {0x79, 0x08, 0x01, 0x18, 0x19, 0x1A, 0x1B, 0x40}
SET_PROPERTY_CODES = {0x10, 0x08, 0x01, 0x7A}
SET_PROPERTY_ACCESS = {"get", "set", "getset", "getforce"}
N_PROPERTIES = 10
N_TYPEREFS = 4
N_ERRORS = 282
N_RESOURCE_MIN, N_RESOURCE_MAX = 636, 28874
SET_ERROR_LEVELS = {2, 3, 0x10002}
N_NAME_MAX = 255  # a name is stored behind a one-byte length

RE_NAME = re.compile(r"^[A-Za-z_][A-Za-z0-9_]*$")
RE_TYPEREF = re.compile(r"^\+:\d{3}:\d+:[A-Z]+:[\x21-\x7e]+$")
# A conversion: a percent sign, flags, width, precision, a length modifier, a conversion letter.
RE_INSERT = re.compile(r"%([-+ #0-9.*]*(?:hh|h|ll|l|L|I64|I32|I|j|z|t|q)?[A-Za-z%]?)")
SET_INSERTS = {"s", "d", "u", "x", "lld", "%"}


class CReport:
    """Problems and counts gathered over all files."""

    def __init__(self):
        self.m_tabProblems = []
        self.m_tabCounts = []

    def Problem(self, sWhere, sText):
        self.m_tabProblems.append("%s: %s" % (sWhere, sText))

    def Count(self, sText):
        self.m_tabCounts.append(sText)


def nParseNumber(sText):
    """Decimal or 0x-hexadecimal, with an optional minus sign; None when it is neither."""
    try:
        return int(sText, 0)
    except ValueError:
        return None


def sParseQuoted(sLine, nStart):
    """The text between the double quote at nStart and its closing quote, C escapes kept as they
    stand, and the rest of the line; None when the text is not closed."""
    i = nStart + 1
    while i < len(sLine):
        if sLine[i] == "\\":
            i += 2
            continue
        if sLine[i] == '"':
            return sLine[nStart + 1:i], sLine[i + 1:]
        i += 1
    return None


def tabLines(sText):
    """(line number, line) for each line that is neither blank nor a comment."""
    for nLine, sLine in enumerate(sText.splitlines(), 1):
        s = sLine.strip()
        if s and not s.startswith("#"):
            yield nLine, s


def tabMalformedInserts(sMessage):
    """The conversions of a message that are not among %s %d %u %x %lld %%."""
    return ["%" + sConv for sConv in RE_INSERT.findall(sMessage) if sConv not in SET_INSERTS]


def tabCheckConstants(sText, stReport, sWhere="constants.cat"):
    """Reads the constants; answers their names in table order."""
    tabNames, mapStable, mapName = [], {}, {}
    mapKinds = {sKind: 0 for sKind in N_CONSTANTS}
    for nLine, s in tabLines(sText):
        sAt = "%s:%d" % (sWhere, nLine)
        w = s.split()
        if len(w) < 6 or w[0] != "const":
            stReport.Problem(sAt, "expected: const <Name> <stable number> <kind> <value> <availability>")
            continue
        sName, sKind = w[1], w[3]
        nStable = nParseNumber(w[2])
        if sKind == "text":
            nQuote = s.find('"')
            stQuoted = sParseQuoted(s, nQuote) if nQuote >= 0 else None
            if stQuoted is None:
                stReport.Problem(sAt, "a text constant needs a value in double quotes")
                continue
            sAvailability = stQuoted[1].strip()
        elif sKind in ("int", "zero"):
            if len(w) != 6:
                stReport.Problem(sAt, "expected six fields")
                continue
            nValue = nParseNumber(w[4])
            if nValue is None:
                stReport.Problem(sAt, "bad value '%s'" % w[4])
            elif sKind == "zero" and nValue != 0:
                stReport.Problem(sAt, "a zero constant has the value 0")
            elif sKind == "int" and nValue == 0:
                stReport.Problem(sAt, "the value 0 belongs to the zero kind")
            elif sKind == "int" and not -(1 << 31) <= nValue < (1 << 32):
                stReport.Problem(sAt, "value %s does not fit in 32 bits" % w[4])
            sAvailability = w[5]
        else:
            stReport.Problem(sAt, "kind '%s' is none of int, text, zero" % sKind)
            continue
        mapKinds[sKind] += 1
        nAvailability = nParseNumber(sAvailability)
        if nAvailability is None or not 0 <= nAvailability < (1 << 32):
            stReport.Problem(sAt, "bad availability word '%s'" % sAvailability)
        if nStable is None or not N_STABLE_MIN <= nStable <= N_STABLE_MAX:
            stReport.Problem(sAt, "stable number %s outside %d..%d" % (w[2], N_STABLE_MIN, N_STABLE_MAX))
        elif nStable in mapStable:
            stReport.Problem(sAt, "stable number %d also on line %d" % (nStable, mapStable[nStable]))
        else:
            mapStable[nStable] = nLine
        if not RE_NAME.match(sName) or len(sName) > N_NAME_MAX:
            stReport.Problem(sAt, "bad name '%s'" % sName)
        if sName in mapName:
            stReport.Problem(sAt, "constant %s also on line %d" % (sName, mapName[sName]))
        mapName.setdefault(sName, nLine)
        tabNames.append(sName)
    stReport.Count("constants: %d (int %d, text %d, zero %d)" % (
        len(tabNames), mapKinds["int"], mapKinds["text"], mapKinds["zero"]))
    for sKind, nExpected in N_CONSTANTS.items():
        if mapKinds[sKind] != nExpected:
            stReport.Problem(sWhere, "%d constants of kind %s, %d expected" % (mapKinds[sKind], sKind, nExpected))
    return tabNames


def tabCheckVariables(sText, stReport, sWhere="variables.cat"):
    """Reads the variables; answers their names in table order."""
    tabNames, mapIndex = [], {}
    for nLine, s in tabLines(sText):
        sAt = "%s:%d" % (sWhere, nLine)
        w = s.split()
        if len(w) != 5 or w[0] != "var":
            stReport.Problem(sAt, "expected: var <Name> <index> <type code> <availability>")
            continue
        nIndex, nCode, nAvailability = (nParseNumber(x) for x in w[2:5])
        if nIndex is None:
            stReport.Problem(sAt, "bad index '%s'" % w[2])
        elif nIndex in mapIndex:
            stReport.Problem(sAt, "index 0x%02x also on line %d" % (nIndex, mapIndex[nIndex]))
        else:
            mapIndex[nIndex] = nLine
        if nCode not in SET_VARIABLE_CODES:
            stReport.Problem(sAt, "type code %s is not one of a variable" % w[3])
        if nAvailability is None or not 0 <= nAvailability < (1 << 32):
            stReport.Problem(sAt, "bad availability word '%s'" % w[4])
        if not RE_NAME.match(w[1]) or len(w[1]) > N_NAME_MAX:
            stReport.Problem(sAt, "bad name '%s'" % w[1])
        tabNames.append(w[1])
    setExpected = set(TAB_VARIABLE_INDEXES)
    tabMissing = sorted(setExpected - set(mapIndex))
    tabExtra = sorted(set(mapIndex) - setExpected)
    if tabMissing:
        stReport.Problem(sWhere, "index gaps: " + ", ".join("0x%02x" % n for n in tabMissing))
    if tabExtra:
        stReport.Problem(sWhere, "indexes out of the table: " + ", ".join("0x%02x" % n for n in tabExtra))
    stReport.Count("variables: %d (indexes 0x01..0x36 without 0x2e: %d expected)" % (
        len(tabNames), len(TAB_VARIABLE_INDEXES)))
    return tabNames


def tabCheckClass(sText, nTypeRefs, stReport, sWhere="class.cat"):
    """Reads the class and its properties; answers their names, class first."""
    tabNames, nClasses = [], 0
    for nLine, s in tabLines(sText):
        sAt = "%s:%d" % (sWhere, nLine)
        w = s.split()
        if len(w) == 3 and w[0] == "class":
            nClasses += 1
            nTypeRef = nParseNumber(w[2])
            if nTypeRef is None or not 1 <= nTypeRef <= nTypeRefs:
                stReport.Problem(sAt, "type reference %s is not among the %d of typerefs.cat" % (w[2], nTypeRefs))
            if tabNames:
                stReport.Problem(sAt, "the class comes before its properties")
            tabNames.insert(0, w[1])
        elif len(w) == 5 and w[0] == "prop":
            if nParseNumber(w[2]) is None:
                stReport.Problem(sAt, "bad identifying word '%s'" % w[2])
            if nParseNumber(w[3]) not in SET_PROPERTY_CODES:
                stReport.Problem(sAt, "type code %s is not one of a property" % w[3])
            if w[4] not in SET_PROPERTY_ACCESS:
                stReport.Problem(sAt, "access '%s' is none of get, set, getset, getforce" % w[4])
            tabNames.append(w[1])
        else:
            stReport.Problem(sAt, "expected: class <Name> <typeref> or prop <Name> <word> <type code> <access>")
    nProperties = len(tabNames) - nClasses
    if nClasses != 1:
        stReport.Problem(sWhere, "%d classes, 1 expected" % nClasses)
    if nProperties != N_PROPERTIES:
        stReport.Problem(sWhere, "%d properties, %d expected" % (nProperties, N_PROPERTIES))
    stReport.Count("class: %d, properties: %d" % (nClasses, nProperties))
    return tabNames


def nCheckTypeRefs(sText, stReport, sWhere="typerefs.cat"):
    """Reads the type references; answers their count."""
    nCount = 0
    for nLine, s in tabLines(sText):
        sAt = "%s:%d" % (sWhere, nLine)
        stQuoted = sParseQuoted(s, s.find('"')) if s.startswith('typeref "') else None
        if stQuoted is None or stQuoted[1].strip():
            stReport.Problem(sAt, 'expected: typeref "<text>"')
            continue
        nCount += 1
        if not RE_TYPEREF.match(stQuoted[0]):
            stReport.Problem(sAt, "'%s' is not +:<library>:<index>:<tag>:<name> in printable ASCII" % stQuoted[0])
    if nCount != N_TYPEREFS:
        stReport.Problem(sWhere, "%d type references, %d expected" % (nCount, N_TYPEREFS))
    stReport.Count("type references: %d" % nCount)
    return nCount


def CheckErrors(sText, stReport, sWhere="errors.cat"):
    mapNumber, mapResource, nRows = {}, {}, 0
    mapLevels = {}
    for nLine, s in tabLines(sText):
        sAt = "%s:%d" % (sWhere, nLine)
        nQuote = s.find('"')
        w = s[:nQuote].split() if nQuote >= 0 else []
        stQuoted = sParseQuoted(s, nQuote) if nQuote >= 0 else None
        if len(w) != 4 or stQuoted is None or stQuoted[1].strip():
            stReport.Problem(sAt, 'expected: <number> <resource id> <detail id> <level> "<message>"')
            continue
        nRows += 1
        nNumber, nResource, nDetail, nLevel = (nParseNumber(x) for x in w)
        if nNumber is None:
            stReport.Problem(sAt, "bad error number '%s'" % w[0])
        elif nNumber in mapNumber:
            stReport.Problem(sAt, "error %d also on line %d" % (nNumber, mapNumber[nNumber]))
        else:
            mapNumber[nNumber] = nLine
        if nResource is None or not N_RESOURCE_MIN <= nResource <= N_RESOURCE_MAX:
            stReport.Problem(sAt, "resource id %s outside %d..%d" % (w[1], N_RESOURCE_MIN, N_RESOURCE_MAX))
        elif nResource in mapResource:
            stReport.Problem(sAt, "resource id %d also on line %d" % (nResource, mapResource[nResource]))
        else:
            mapResource[nResource] = nLine
        if nDetail is None or nDetail < 0:
            stReport.Problem(sAt, "bad detail id '%s'" % w[2])
        if nLevel not in SET_ERROR_LEVELS:
            stReport.Problem(sAt, "level %s is none of 2, 3, 0x10002" % w[3])
        else:
            mapLevels[nLevel] = mapLevels.get(nLevel, 0) + 1
        sMessage = stQuoted[0]
        if not sMessage.strip():
            stReport.Problem(sAt, "empty message")
        for sBad in tabMalformedInserts(sMessage):
            stReport.Problem(sAt, "malformed insert '%s'" % sBad)
    if nRows != N_ERRORS:
        stReport.Problem(sWhere, "%d rows, %d expected" % (nRows, N_ERRORS))
    stReport.Count("errors: %d (level 3: %d, level 2: %d, level 0x10002: %d), resource ids: %d distinct" % (
        nRows, mapLevels.get(3, 0), mapLevels.get(2, 0), mapLevels.get(0x10002, 0), len(mapResource)))


def CheckNames(tabNames, stReport):
    """Constants, variables, the class and its properties share one numbering: a name must not
    stand twice among them."""
    mapSeen = {}
    for sName in tabNames:
        mapSeen[sName] = mapSeen.get(sName, 0) + 1
    for sName, nTimes in sorted(mapSeen.items()):
        if nTimes > 1:
            stReport.Problem("names", "%s stands %d times among constants, variables and the class" % (sName, nTimes))


def stCheckAll(sRoot):
    stReport = CReport()
    sCatalogue = os.path.join(sRoot, "component", "catalogue")

    def sRead(sPath):
        try:
            with open(sPath, encoding="utf-8") as f:
                return f.read()
        except OSError as e:
            stReport.Problem(sPath, "cannot read: %s" % e.strerror)
            return ""

    nTypeRefs = nCheckTypeRefs(sRead(os.path.join(sCatalogue, "typerefs.cat")), stReport)
    tabNames = tabCheckConstants(sRead(os.path.join(sCatalogue, "constants.cat")), stReport)
    tabNames += tabCheckVariables(sRead(os.path.join(sCatalogue, "variables.cat")), stReport)
    tabNames += tabCheckClass(sRead(os.path.join(sCatalogue, "class.cat")), nTypeRefs, stReport)
    CheckNames(tabNames, stReport)
    CheckErrors(sRead(os.path.join(sRoot, "base", "errors.cat")), stReport)
    return stReport


# ---------------------------------------------------------------- the checker's own tests

def stRun(fnCheck, sText, *tabArgs):
    stReport = CReport()
    fnCheck(sText, *tabArgs, stReport)
    return stReport


def sConstants(nInt, nText, nZero, sExtra=""):
    tab = ["const cInt%d %d int %d 0xc1010000" % (i, 101 + i, i + 1) for i in range(nInt)]
    tab += ['const cText%d %d text "t\\"%d" 0xc1010000' % (i, 1001 + i, i) for i in range(nText)]
    tab += ["const cZero%d %d zero 0 0xc1010000" % (i, 2001 + i) for i in range(nZero)]
    return "\n".join(tab) + "\n" + sExtra


def sErrors(tabRows):
    return "".join('%d %d 0 3 "%s"\n' % (nNumber, nResource, sMessage) for nNumber, nResource, sMessage in tabRows)


class CInsertTest(unittest.TestCase):
    def test_AcceptsTheInsertsOfTheFormat(self):
        for nLine, sMessage in [
            (__LINE__(), "File %s, number %d, size %u, flags %x, offset %lld, 50%%."),
            (__LINE__(), "No insert at all."),
            (__LINE__(), "Caf\u00e9 \U0001F600 %s"),
        ]:
            self.assertEqual(tabMalformedInserts(sMessage), [], "line %d" % nLine)

    def test_RejectsWhatTheRaiserCannotFeed(self):
        for nLine, sMessage, tabExpected in [
            (__LINE__(), "Value %ls", ["%ls"]),
            (__LINE__(), "Width %5d", ["%5d"]),
            (__LINE__(), "Pointer %p", ["%p"]),
            (__LINE__(), "Long %ld", ["%ld"]),
            (__LINE__(), "Windows 64-bit %I64d", ["%I64d"]),
            (__LINE__(), "Ends in %", ["%"]),
            (__LINE__(), "Numbered %1", ["%1"]),
            (__LINE__(), "Char %c then %s", ["%c"]),
        ]:
            self.assertEqual(tabMalformedInserts(sMessage), tabExpected, "line %d" % nLine)


class CConstantTest(unittest.TestCase):
    def test_CountsKindsAndAcceptsAFullTable(self):
        stReport = stRun(tabCheckConstants, sConstants(420, 58, 147))
        self.assertEqual(stReport.m_tabProblems, [])
        self.assertIn("constants: 625 (int 420, text 58, zero 147)", stReport.m_tabCounts)

    def test_FindsDuplicatesAndBadRows(self):
        for nLine, sExtra, sExpected in [
            (__LINE__(), "const cInt0 4000 int 5 0xc1010000", "constant cInt0 also on line 1"),
            (__LINE__(), "const cOther 101 int 5 0xc1010000", "stable number 101 also on line 1"),
            (__LINE__(), "const cOther 4840 int 5 0xc1010000", "outside 101..4839"),
            (__LINE__(), "const cOther 4000 zero 1 0xc1010000", "a zero constant has the value 0"),
            (__LINE__(), "const cOther 4000 int 0 0xc1010000", "the value 0 belongs to the zero kind"),
            (__LINE__(), "const cOther 4000 int 0x100000000 0xc1010000", "does not fit in 32 bits"),
            (__LINE__(), 'const cOther 4000 text "open 0xc1010000', "needs a value in double quotes"),
            (__LINE__(), "const cOther 4000 real 1.5 0xc1010000", "kind 'real'"),
            (__LINE__(), "const 9Other 4000 int 5 0xc1010000", "bad name '9Other'"),
            (__LINE__(), "const cOther 4000 int 5 c1010000", "bad availability word"),
        ]:
            stReport = stRun(tabCheckConstants, sConstants(1, 0, 0, sExtra))
            self.assertTrue(any(sExpected in s for s in stReport.m_tabProblems),
                            "line %d: %s" % (nLine, stReport.m_tabProblems))

    def test_TextMayHoldEscapedQuotesAndSpaces(self):
        stReport = stRun(tabCheckConstants, 'const cText 101 text "not \\"ready\\" now" 0xc3228600\n')
        self.assertEqual([s for s in stReport.m_tabProblems if "expected" not in s], [])

    def test_ReportsWrongKindCounts(self):
        stReport = stRun(tabCheckConstants, sConstants(419, 58, 148))
        self.assertIn("constants.cat: 419 constants of kind int, 420 expected", stReport.m_tabProblems)
        self.assertIn("constants.cat: 148 constants of kind zero, 147 expected", stReport.m_tabProblems)


class CVariableTest(unittest.TestCase):
    def sVariables(self, tabIndexes):
        return "".join("var v%d 0x%02x 0x08 0xc1028000\n" % (n, n) for n in tabIndexes)

    def test_AcceptsEveryIndexButTheHole(self):
        stReport = stRun(tabCheckVariables, self.sVariables(TAB_VARIABLE_INDEXES))
        self.assertEqual(stReport.m_tabProblems, [])

    def test_ReportsGapsExtrasAndRepeats(self):
        tabIndexes = [n for n in TAB_VARIABLE_INDEXES if n not in (0x05, 0x36)] + [0x2E, 0x07]
        stReport = stRun(tabCheckVariables, self.sVariables(tabIndexes))
        self.assertIn("variables.cat: index gaps: 0x05, 0x36", stReport.m_tabProblems)
        self.assertIn("variables.cat: indexes out of the table: 0x2e", stReport.m_tabProblems)
        self.assertTrue(any("index 0x07 also on line" in s for s in stReport.m_tabProblems))

    def test_RefusesATypeCodeNoVariableHas(self):
        stReport = stRun(tabCheckVariables, "var vReal 0x01 0x0c 0xc1028000\n")
        self.assertTrue(any("type code 0x0c" in s for s in stReport.m_tabProblems))


class CClassTest(unittest.TestCase):
    def test_ChecksPropertiesAndTheTypeReference(self):
        sProps = "".join("prop p%d %d 0x08 getset\n" % (i, i) for i in range(1, 10))
        stReport = stRun(tabCheckClass, "class Processus 5\n" + sProps + "prop pBad 10 0x0c read\n", 4)
        self.assertTrue(any("type reference 5" in s for s in stReport.m_tabProblems))
        self.assertTrue(any("type code 0x0c" in s for s in stReport.m_tabProblems))
        self.assertTrue(any("access 'read'" in s for s in stReport.m_tabProblems))
        self.assertNotIn("class.cat: 10 properties, 10 expected", stReport.m_tabProblems)

    def test_TypeReferencesArePrintableAndShaped(self):
        stReport = stRun(nCheckTypeRefs, 'typeref "+:008:0:STD:Processus"\ntyperef "+:61:0:PNT:Ic\u00f4ne"\n')
        self.assertEqual(len([s for s in stReport.m_tabProblems if "is not +:" in s]), 1)


class CErrorTest(unittest.TestCase):
    def test_FindsDuplicateNumbersAndResourceIds(self):
        stReport = stRun(CheckErrors, sErrors([(80001, 27001, "A."), (80001, 27002, "B."), (80002, 27001, "C.")]))
        self.assertTrue(any("error 80001 also on line 1" in s for s in stReport.m_tabProblems))
        self.assertTrue(any("resource id 27001 also on line 1" in s for s in stReport.m_tabProblems))

    def test_FindsBadRangesLevelsAndInserts(self):
        sText = sErrors([(80001, 635, "Low id."), (80002, 28875, "High id.")])
        sText += '80003 27003 0 4 "Level four."\n80004 27004 0 3 "Width %02d."\n80005 27005 0 3 ""\n'
        stReport = stRun(CheckErrors, sText)
        sAll = "\n".join(stReport.m_tabProblems)
        for sExpected in ["resource id 635 outside", "resource id 28875 outside", "level 4 is none",
                          "malformed insert '%02d'", "empty message", "5 rows, 282 expected"]:
            self.assertIn(sExpected, sAll)

    def test_QuotedMessageKeepsEscapes(self):
        stReport = stRun(CheckErrors, '81865 28865 0 3 "Invalid zone \\"%s\\"."\n')
        self.assertEqual([s for s in stReport.m_tabProblems if "insert" in s], [])


class CNameTest(unittest.TestCase):
    def test_NamesAreSharedAcrossTables(self):
        stReport = CReport()
        CheckNames(["memDefaut", "svcType", "Processus", "memDefaut"], stReport)
        self.assertEqual(stReport.m_tabProblems,
                         ["names: memDefaut stands 2 times among constants, variables and the class"])


def __LINE__():
    """The caller's line, to name the row of a table-driven case."""
    return sys._getframe(1).f_lineno


def main():
    stParser = argparse.ArgumentParser(description="Checks the catalogue data files and the error table.")
    stParser.add_argument("--root", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))),
                          help="root of the source tree (default: the parent of tools/)")
    stParser.add_argument("--self-test", action="store_true", help="run the checker's own tests")
    stArgs = stParser.parse_args()
    if stArgs.self_test:
        stResult = unittest.main(argv=[sys.argv[0]], exit=False).result
        return 0 if stResult.wasSuccessful() else 1
    stReport = stCheckAll(stArgs.root)
    for s in stReport.m_tabCounts:
        print(s)
    for s in stReport.m_tabProblems:
        print("problem: " + s)
    print("%d problem(s)" % len(stReport.m_tabProblems))
    return 1 if stReport.m_tabProblems else 0


if __name__ == "__main__":
    sys.exit(main())
