#!/usr/bin/env python3
"""Checks component/catalogue/functions.cat before the generator turns it into tables.

Prints the row count, gaps and duplicates, overload counts outside 1..14, unknown type codes,
rows without their one-line description, the starred rows and the per-bit counts of the
availability words. Given the reference the generator made from the file, checks that it holds
every row. Exits with 1 when the file has a fault the generator would refuse or silently get wrong.

    tools/check_catalogue.py [functions.cat] [--types type_codes.h] [--rows 497] [--reference reference.md]
    tools/check_catalogue.py --self-test
"""

import argparse
import os
import re
import sys
import unittest

sRoot = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sDefaultCatalogue = os.path.join(sRoot, 'component', 'catalogue', 'functions.cat')
sDefaultTypes = os.path.join(sRoot, 'component', 'interfaces', 'type_codes.h')

nMaxOverloads = 14
# A description is one line of a reference and of a terminal: longer ones wrap.
nMaxDocLength = 100
# Bits 8 to 15 of a type word that mean something; any other is a typing slip.
dwKnownMarks = 0x200 | 0x4000 | 0x8000
tabFlags = ('nobody', 'variadic', 'bit8', 'bit25')


def setReadTypeCodes(sHeader):
    """Valid low bytes: the codes named in the readable-name table of the header, so that the
    flag and mask constants defined beside them never pass for type codes."""
    mapValues = {m.group(1): int(m.group(2), 16)
                 for m in re.finditer(r'\b([A-Z][A-Z0-9_]*)\s*=\s*(0x[0-9a-fA-F]+)', sHeader)}
    mTable = re.search(r'gstTypeNames\[\]\s*=\s*\{(.*?)\};', sHeader, re.S)
    if not mTable:
        raise ValueError('no gstTypeNames table in the type-code header')
    tabNames = re.findall(r'\{\s*([A-Z][A-Z0-9_]*)\s*,\s*"', mTable.group(1))
    tabMissing = [s for s in tabNames if s not in mapValues]
    if tabMissing:
        raise ValueError('type names without a value: ' + ', '.join(tabMissing))
    return {mapValues[s] for s in tabNames}


class CCatalogue:
    def __init__(self):
        # Rows as dicts: nLine, nRow, sName, dwAvail, bStar, nAlias, sDoc, tabOverloads.
        self.m_tabRows = []
        # (line, message): lines the generator could not read.
        self.m_tabErrors = []

    def Error(self, nLine, sMessage):
        self.m_tabErrors.append((nLine, sMessage))


def mapParseOverload(nLine, sRest, clCatalogue):
    m = re.fullmatch(r'(\S+)\s*\(([^)]*)\)\s*(.*)', sRest)
    if not m:
        clCatalogue.Error(nLine, 'overload expected as: ov <result> (<args>) [flags] [= call]')
        return None
    sTail, sCall = m.group(3), None
    if '=' in sTail:
        sTail, sCall = sTail.split('=', 1)
        sCall = sCall.strip()
        if not sCall:
            clCatalogue.Error(nLine, 'empty call after "="')
    try:
        dwResult = int(m.group(1), 0)
        tabArgs = [int(s, 0) for s in m.group(2).split(',') if s.strip()]
    except ValueError:
        clCatalogue.Error(nLine, 'type word is not a number')
        return None
    tabWords = sTail.split()
    for s in tabWords:
        if s not in tabFlags:
            clCatalogue.Error(nLine, 'unknown flag "%s"' % s)
    return {'nLine': nLine, 'dwResult': dwResult, 'tabArgs': tabArgs, 'setFlags': set(tabWords),
            'sCall': sCall}


def clParse(sText):
    clCatalogue = CCatalogue()
    for nLine, sRaw in enumerate(sText.splitlines(), 1):
        s = sRaw.strip()
        if not s or s.startswith('#'):
            continue
        tabWords = s.split()
        if tabWords[0] == 'fn':
            if len(tabWords) < 4:
                clCatalogue.Error(nLine, 'fn <row> <Name> <availability> [*] [alias=<row>]')
                continue
            try:
                mapRow = {'nLine': nLine, 'nRow': int(tabWords[1], 0), 'sName': tabWords[2],
                          'dwAvail': int(tabWords[3], 0), 'bStar': False, 'nAlias': None,
                          'sDoc': None, 'tabOverloads': []}
            except ValueError:
                clCatalogue.Error(nLine, 'row or availability is not a number')
                continue
            for sWord in tabWords[4:]:
                if sWord == '*':
                    mapRow['bStar'] = True
                elif sWord.startswith('alias=') and sWord[6:].isdigit():
                    mapRow['nAlias'] = int(sWord[6:])
                else:
                    clCatalogue.Error(nLine, 'unknown word "%s"' % sWord)
            if not 0 <= mapRow['dwAvail'] <= 0xFFFFFFFF:
                clCatalogue.Error(nLine, 'availability does not fit 32 bits')
            clCatalogue.m_tabRows.append(mapRow)
        elif tabWords[0] == 'doc':
            m = re.fullmatch(r'doc\s+"((?:[^"\\]|\\.)*)"', s)
            if not m:
                clCatalogue.Error(nLine, 'doc "<one line>" expected')
            elif not clCatalogue.m_tabRows or clCatalogue.m_tabRows[-1]['tabOverloads']:
                clCatalogue.Error(nLine, 'a doc line goes directly under its fn line')
            elif clCatalogue.m_tabRows[-1]['sDoc'] is not None:
                clCatalogue.Error(nLine, 'a second doc line')
            else:
                clCatalogue.m_tabRows[-1]['sDoc'] = m.group(1)
        elif tabWords[0] == 'ov':
            if not clCatalogue.m_tabRows:
                clCatalogue.Error(nLine, 'ov before any fn')
                continue
            mapOverload = mapParseOverload(nLine, s[2:].strip(), clCatalogue)
            if mapOverload:
                clCatalogue.m_tabRows[-1]['tabOverloads'].append(mapOverload)
        else:
            clCatalogue.Error(nLine, 'fn or ov expected')
    return clCatalogue


def sUnescaped(sText):
    """A doc text as the generator reads it: backslash escapes of quote and backslash undone."""
    return re.sub(r'\\(.)', r'\1', sText)


def tabReferenceEntries(sReference):
    """(name, doc line, overload count, says no body) per function of reference.md, in order."""
    tabEntries = []
    for sBlock in re.split(r'^### ', sReference, flags=re.M)[1:]:
        tabLines = [sUnescaped(s) for s in sBlock.split('\n')]
        sDoc = tabLines[2] if len(tabLines) > 2 else ''
        tabEntries.append((tabLines[0], sDoc, sum(s.startswith('- `') for s in tabLines),
                           'No body on this platform.' in sBlock))
    return tabEntries


def tabDocsHeaderEntries(sHeader):
    """(name, line) per entry of catalogue_docs.h, its C literals read back to text."""
    def sLiteral(s):
        return re.sub(rb'\\([0-7]{3}|.)', lambda m: bytes([int(m.group(1), 8)]) if len(m.group(1)) == 3
                      else m.group(1), s.encode()).decode('utf-8')
    return [(sLiteral(a), sLiteral(b))
            for a, b in re.findall(r'^\s*\{"((?:[^"\\]|\\.)*)", "((?:[^"\\]|\\.)*)"\},$', sHeader, re.M)]


def Check(clCatalogue, setValidCodes, nExpectedRows=None, sReference=None, sDocs=None):
    """Returns (report lines, number of faults). sReference: the text of reference.md; sDocs: that
    of catalogue_docs.h."""
    tabOut, nFaults = [], 0

    def Fault(sMessage):
        nonlocal nFaults
        nFaults += 1
        tabOut.append('  ' + sMessage)

    for nLine, sMessage in clCatalogue.m_tabErrors:
        Fault('line %d: %s' % (nLine, sMessage))

    tabRows = clCatalogue.m_tabRows
    tabNumbers = [r['nRow'] for r in tabRows]
    tabOut.append('rows: %d' % len(tabRows))
    if nExpectedRows is not None and len(tabRows) != nExpectedRows:
        Fault('expected %d rows' % nExpectedRows)
    setPresent = set(tabNumbers)
    tabGaps = [n for n in range(max(tabNumbers) + 1) if n not in setPresent] if tabNumbers else []
    tabOut.append('gaps: %s' % (', '.join(map(str, tabGaps)) or 'none'))
    nFaults += len(tabGaps)
    for nPosition, nRow in enumerate(tabNumbers):
        if nRow != nPosition:
            Fault('line %d: row %d stands at position %d'
                  % (tabRows[nPosition]['nLine'], nRow, nPosition))
            break

    mapByRow = {r['nRow']: r for r in tabRows}
    setSeenRows, mapSeenNames, tabDuplicates = set(), {}, []
    for r in tabRows:
        if r['nRow'] in setSeenRows:
            tabDuplicates.append('row %d twice' % r['nRow'])
        setSeenRows.add(r['nRow'])
        nTarget = r['nAlias']
        if nTarget is not None:
            # A second name of a function: no duplicate, but it must point at a real function.
            if nTarget >= r['nRow'] or nTarget not in mapByRow:
                Fault('line %d: %s aliases row %d, which is not an earlier row'
                      % (r['nLine'], r['sName'], nTarget))
            elif mapByRow[nTarget]['nAlias'] is not None:
                Fault('line %d: %s aliases another alias' % (r['nLine'], r['sName']))
            continue
        if r['sName'] in mapSeenNames:
            tabDuplicates.append('%s at rows %d and %d'
                                 % (r['sName'], mapSeenNames[r['sName']], r['nRow']))
        else:
            mapSeenNames[r['sName']] = r['nRow']
    tabOut.append('duplicates: %s' % ('; '.join(tabDuplicates) or 'none'))
    nFaults += len(tabDuplicates)

    tabBadCounts = ['%s (%d)' % (r['sName'], len(r['tabOverloads'])) for r in tabRows
                    if not 1 <= len(r['tabOverloads']) <= nMaxOverloads]
    tabOut.append('overload counts outside 1..%d: %s'
                  % (nMaxOverloads, ', '.join(tabBadCounts) or 'none'))
    nFaults += len(tabBadCounts)

    tabUnknown = []
    for r in tabRows:
        for o in r['tabOverloads']:
            for dw in [o['dwResult']] + o['tabArgs']:
                if not 0 <= dw <= 0xFFFFFFFF or (dw & 0xFF) not in setValidCodes \
                        or dw & 0xFF00 & ~dwKnownMarks:
                    tabUnknown.append('line %d: %s 0x%x' % (o['nLine'], r['sName'], dw))
    tabOut.append('unknown type codes: %s' % ('none' if not tabUnknown else ''))
    for s in tabUnknown:
        Fault(s)

    for r in tabRows:
        for o in r['tabOverloads']:
            if o['sCall'] and (r['bStar'] or 'nobody' in o['setFlags']):
                Fault('line %d: %s has a call but no body here' % (o['nLine'], r['sName']))
            if o['sCall'] and o['sCall'].startswith('forward') \
                    and not re.fullmatch(r'forward \d+', o['sCall']):
                Fault('line %d: forward needs one index' % o['nLine'])

    tabUndocumented = [r['sName'] for r in tabRows if not r['sDoc']]
    tabOut.append('rows without a doc line: %s' % (', '.join(tabUndocumented) or 'none'))
    nFaults += len(tabUndocumented)
    for r in tabRows:
        if r['sDoc'] and len(r['sDoc']) > nMaxDocLength:
            Fault('line %d: the doc line of %s is longer than %d characters'
                  % (r['nLine'], r['sName'], nMaxDocLength))
    if sReference is not None:
        tabEntries = tabReferenceEntries(sReference)
        tabOut.append('functions in the reference: %d' % len(tabEntries))
        if len(tabEntries) != len(tabRows):
            Fault('the reference lists %d functions, the catalogue has %d rows' % (len(tabEntries), len(tabRows)))
        for r, (sName, sDoc, nOverloads, bNoBody) in zip(tabRows, tabEntries):
            rOwner = mapByRow.get(r['nAlias'], r) if r['nAlias'] is not None else r
            if (sName, sDoc) != (r['sName'], sUnescaped(r['sDoc'] or '')):
                Fault('row %d: the reference has %s, "%s"' % (r['nRow'], sName, sDoc))
            elif nOverloads != len(rOwner['tabOverloads']):
                Fault('row %d: the reference shows %d overloads of %d' % (r['nRow'], nOverloads, len(rOwner['tabOverloads'])))
            elif r['bStar'] and not bNoBody:
                Fault('row %d: the reference does not say that %s has no body' % (r['nRow'], sName))
    if sDocs is not None:
        tabDocs = tabDocsHeaderEntries(sDocs)
        tabOut.append('names in the docs header: %d' % len(tabDocs))
        mapExpected = {r['sName']: sUnescaped(r['sDoc'] or '') for r in tabRows}
        if [s for s, _ in tabDocs] != sorted(mapExpected, key=lambda s: s.encode()):
            Fault('the docs header does not hold each name once, in byte order')
        for sName, sDoc in tabDocs:
            if mapExpected.get(sName) != sDoc:
                Fault('the docs header gives %s the line "%s"' % (sName, sDoc))

    tabOverloads = [o for r in tabRows for o in r['tabOverloads']]
    tabOut.append('starred rows: %d' % sum(r['bStar'] for r in tabRows))
    sFlagged = ', '.join('%s %d' % (s, sum(s in o['setFlags'] for o in tabOverloads))
                         for s in tabFlags)
    tabOut.append('overloads: %d; %s' % (len(tabOverloads), sFlagged))
    tabCalls = [o['sCall'] for o in tabOverloads if o['sCall']]
    nForwards = sum(s.startswith('forward') for s in tabCalls)
    tabOut.append('calls: %d forwards, %d methods' % (nForwards, len(tabCalls) - nForwards))

    tabOut.append('availability bits (bit: rows):')
    tabCounts = [(nBit, sum(r['dwAvail'] >> nBit & 1 for r in tabRows)) for nBit in range(31, -1, -1)]
    tabOut.append('  ' + ', '.join('%d: %d' % st for st in tabCounts if st[1]))
    return tabOut, nFaults


# ---------------------------------------------------------------- self-test

sTestHeader = '''
inline constexpr uint32_t VOID = 0x00;
inline constexpr uint32_t BOOL = 0x01;
inline constexpr uint32_t INT = 0x08;
inline constexpr uint32_t STRING = 0x79;
inline constexpr uint32_t TEXT = 0x7a;
inline constexpr uint32_t MANIP = 0x50;
inline constexpr uint32_t CODE_MASK = 0xff;
inline constexpr STTypeName gstTypeNames[] = {
    {VOID, "void"}, {BOOL, "bool"}, {INT, "int"}, {STRING, "string"}, {TEXT, "text"},
    {MANIP, "manip"},
};
'''

sTestGood = '''# comment
fn 0 DateSys 0xc1010000
    doc "Returns today's date, or sets it"
    ov 0x79 ()
    ov 0x00 (0x7a)
fn 1 fOuvre 0xc1028000
    doc "Opens a file named \\"like this\\""
    ov 0x08 (0x8050, 0x08)
fn 2 DateSys 0xc1010000 * alias=0
    doc "Returns today's date, or sets it"
    ov 0x79 ()
'''


def nLine():
    return sys._getframe(1).f_lineno


def sDocumented(sText):
    """The same catalogue with a doc line under each fn line, for cases about something else."""
    return re.sub(r'^(fn .*)$', r'\1\n doc "D"', sText, flags=re.M)


class CSelfTest(unittest.TestCase):
    def Run(self, sText, nRows=None, sReference=None):
        return Check(clParse(sText), setReadTypeCodes(sTestHeader), nRows, sReference)

    def test_type_codes_come_from_the_name_table_only(self):
        self.assertEqual(setReadTypeCodes(sTestHeader), {0x00, 0x01, 0x08, 0x79, 0x7a, 0x50})

    def test_clean_catalogue_has_no_fault(self):
        tabReport, nFaults = self.Run(sTestGood, 3)
        self.assertEqual(nFaults, 0, tabReport)
        self.assertIn('starred rows: 1', tabReport)
        self.assertIn('  31: 3, 30: 3, 24: 3, 17: 1, 16: 2, 15: 1', tabReport)
        # A second name for a function is no duplicate.
        self.assertIn('duplicates: none', tabReport)

    def test_faults_are_found(self):
        tabCases = [
            (nLine(), 'fn 0 A 0x1\n ov 0x08 ()\nfn 2 B 0x1\n ov 0x08 ()\n', 'gaps: 1'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 ()\nfn 1 A 0x1\n ov 0x08 ()\n', 'A at rows 0 and 1'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 ()\nfn 0 B 0x1\n ov 0x08 ()\n', 'row 0 twice'),
            (nLine(), 'fn 1 A 0x1\n ov 0x08 ()\nfn 0 B 0x1\n ov 0x08 ()\n', 'stands at position 0'),
            (nLine(), 'fn 0 A 0x1\n', 'outside 1..14: A (0)'),
            (nLine(), 'fn 0 A 0x1\n' + ' ov 0x08 ()\n' * 15, 'A (15)'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 (0x0b)\n', 'A 0xb'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 (0x1008)\n', 'A 0x1008'),
            (nLine(), 'fn 0 A 0x1\n ov 0x108 ()\n', 'A 0x108'),
            (nLine(), 'fn 0 A 0x1 alias=0\n ov 0x08 ()\n', 'not an earlier row'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 ()\nfn 1 A 0x1 alias=0\n ov 0x08 ()\n'
                      'fn 2 A 0x1 alias=1\n ov 0x08 ()\n', 'aliases another alias'),
            (nLine(), 'fn 0 A 0x1 *\n ov 0x08 () = A\n', 'call but no body'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 () nobody = A\n', 'call but no body'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 () = forward\n', 'forward needs one index'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 () varidic\n', 'unknown flag "varidic"'),
            (nLine(), 'ov 0x08 ()\nfn 0 A 0x1\n ov 0x08 ()\n', 'ov before any fn'),
            (nLine(), 'fn 0 A 0x100000000\n ov 0x08 ()\n', 'does not fit 32 bits'),
            (nLine(), 'fn 0 A zero\n ov 0x08 ()\n', 'is not a number'),
        ]
        for nCase, sText, sExpected in tabCases:
            tabReport, nFaults = self.Run(sDocumented(sText))
            self.assertGreater(nFaults, 0, 'case of line %d' % nCase)
            self.assertTrue(any(sExpected in s for s in tabReport),
                            'case of line %d: %r not in %r' % (nCase, sExpected, tabReport))

    def test_every_row_has_one_doc_line_under_its_fn_line(self):
        tabCases = [
            (nLine(), 'fn 0 A 0x1\n ov 0x08 ()\n', 'rows without a doc line: A'),
            (nLine(), 'fn 0 A 0x1\n doc ""\n ov 0x08 ()\n', 'rows without a doc line: A'),
            (nLine(), 'fn 0 A 0x1\n ov 0x08 ()\n doc "D"\n', 'directly under its fn line'),
            (nLine(), 'fn 0 A 0x1\n doc "D"\n doc "E"\n ov 0x08 ()\n', 'a second doc line'),
            (nLine(), 'fn 0 A 0x1\n doc D\n ov 0x08 ()\n', 'doc "<one line>" expected'),
            (nLine(), 'fn 0 A 0x1\n doc "%s"\n ov 0x08 ()\n' % ('x' * 101), 'longer than 100'),
        ]
        for nCase, sText, sExpected in tabCases:
            tabReport, nFaults = self.Run(sText)
            self.assertGreater(nFaults, 0, 'case of line %d' % nCase)
            self.assertTrue(any(sExpected in s for s in tabReport),
                            'case of line %d: %r not in %r' % (nCase, sExpected, tabReport))

    def test_reference_shows_every_row_as_the_catalogue_has_it(self):
        sDate = "### DateSys\n\nReturns today's date, or sets it\n\n- `DateSys() -> string`\n- `DateSys(text) -> void`\n\n"
        sReference = ('# Language functions\n\n## Dates\n\n' + sDate +
                      '### fOuvre\n\nOpens a file named "like this"\n\n- `fOuvre(manip, int) -> int`\n\n' +
                      sDate + 'Row 2. No body on this platform.\n')
        tabReport, nFaults = self.Run(sTestGood, 3, sReference)
        self.assertEqual(nFaults, 0, tabReport)
        tabCases = [
            (nLine(), sReference.rsplit('###', 1)[0], 'lists 2 functions, the catalogue has 3 rows'),
            (nLine(), sReference.replace('like this', 'like that'), 'row 1: the reference has fOuvre'),
            (nLine(), sReference.replace('- `fOuvre', '- `fOuvre(int) -> int`\n- `fOuvre'), 'shows 2 overloads of 1'),
            (nLine(), sReference.replace(' No body on this platform.', ''), 'does not say that DateSys has no body'),
        ]
        for nCase, sText, sExpected in tabCases:
            tabReport, nFaults = self.Run(sTestGood, 3, sText)
            self.assertGreater(nFaults, 0, 'case of line %d' % nCase)
            self.assertTrue(any(sExpected in s for s in tabReport),
                            'case of line %d: %r not in %r' % (nCase, sExpected, tabReport))

    def test_docs_header_holds_each_name_once_with_its_line(self):
        sCatalogue = sTestGood.replace('Opens a file', 'Ouvre un fichier \U0001F600 à')
        sHeader = ('{"DateSys", "Returns today\'s date, or sets it"},\n'
                   '{"fOuvre", "Ouvre un fichier \\360\\237\\230\\200 \\303\\240 named \\"like this\\""},\n')
        tabReport, nFaults = Check(clParse(sCatalogue), setReadTypeCodes(sTestHeader), 3, None, sHeader)
        self.assertEqual(nFaults, 0, tabReport)
        for sBroken, sExpected in [(sHeader.replace('à', 'a').replace('\\303\\240', 'a'), 'gives fOuvre the line'),
                                   ('\n'.join(reversed(sHeader.split('\n'))), 'in byte order'),
                                   (sHeader + sHeader, 'in byte order')]:
            tabReport, nFaults = Check(clParse(sCatalogue), setReadTypeCodes(sTestHeader), 3, None, sBroken)
            self.assertTrue(any(sExpected in s for s in tabReport), (sExpected, tabReport))

    def test_row_count_is_compared_with_the_expected_one(self):
        self.assertGreater(self.Run(sTestGood, 497)[1], 0)

    def test_counts_of_flags_and_calls(self):
        sText = sDocumented('fn 0 A 0x1\n ov 0x08 (0x08) variadic\n ov 0x08 () nobody\n'
                            'fn 1 B 0x1\n ov 0x08 () bit25 = forward 3\n ov 0x08 () bit8 = B\n')
        tabReport, nFaults = self.Run(sText)
        self.assertEqual(nFaults, 0, tabReport)
        self.assertIn('overloads: 4; nobody 1, variadic 1, bit8 1, bit25 1', tabReport)
        self.assertIn('calls: 1 forwards, 1 methods', tabReport)


def main():
    clArgs = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    clArgs.add_argument('catalogue', nargs='?', default=sDefaultCatalogue)
    clArgs.add_argument('--types', default=sDefaultTypes)
    clArgs.add_argument('--rows', type=int, default=497)
    clArgs.add_argument('--reference', help='the reference.md made by the generator')
    clArgs.add_argument('--docs', help='the catalogue_docs.h made by the generator')
    clArgs.add_argument('--self-test', action='store_true')
    clOptions = clArgs.parse_args()
    if clOptions.self_test:
        unittest.main(module=__name__, argv=sys.argv[:1], verbosity=1)
    with open(clOptions.types, encoding='utf-8') as f:
        setValid = setReadTypeCodes(f.read())
    with open(clOptions.catalogue, encoding='utf-8') as f:
        clCatalogue = clParse(f.read())
    sReference = sDocs = None
    if clOptions.reference:
        with open(clOptions.reference, encoding='utf-8') as f:
            sReference = f.read()
    if clOptions.docs:
        with open(clOptions.docs, encoding='utf-8') as f:
            sDocs = f.read()
    tabReport, nFaults = Check(clCatalogue, setValid, clOptions.rows, sReference, sDocs)
    print('\n'.join(tabReport))
    print('faults: %d' % nFaults)
    return 1 if nFaults else 0


if __name__ == '__main__':
    sys.exit(main())
