// The shapes of the expected conversion results that tools/gen_codepage_tables.py writes into
// code_page_expected.inc.
#pragma once

#include <cstddef>
#include <cstdint>

struct STPageAttendue {
    int nLigne;
    unsigned int nCodePage;
    uint32_t acCaracteres[256];  // 0xFFFFFFFF: no character for that byte
};

struct STEchantillon {
    int nLigne;
    unsigned int nCodePage;
    const char* pszCodec;
    const unsigned char* pbyOctets;
    size_t nOctets;
    const char32_t* pcTexte;
    size_t nCaracteres;
};

struct STCasUtf8 {
    int nLigne;
    const unsigned char* pbyOctets;
    size_t nOctets;
    bool bValide;
    const char32_t* pcTexte;
    size_t nCaracteres;
};

struct STCasUtf16 {
    int nLigne;
    const char16_t* pcUnites;
    size_t nUnites;
    bool bValide;
    const char32_t* pcTexte;
    size_t nCaracteres;
};

struct STBaseAttendue {
    int nLigne;
    uint32_t cCaractere;
    uint32_t cBase;  // 0: canonical decomposition gives none
};

#include "base/testdata/code_page_expected.inc"
