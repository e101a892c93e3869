// Variants in and out of the stored form of memory-list keys and values.
#include "memory/memory_values.h"

#include <cstring>
#include <vector>

#include "base/any.h"

namespace ovmem {

namespace {

bool bTexteLarge(int nType) noexcept {
    return nType == 0x10 || nType == 0x14 || nType == 0x51 || nType == 0x6e || nType == 0x94 || nType == 0x95;
}

bool bTexteOctets(int nType) noexcept {
    return (nType >= 0x11 && nType <= 0x17 && nType != 0x14) || nType == 0x1c || nType == 0x86;
}

void EcritScalaire(STParametreMem* pst, char cType, const void* pv, size_t nTaille) {
    pst->tab.assign(static_cast<const uint8_t*>(pv), static_cast<const uint8_t*>(pv) + nTaille);
    pst->st = {cType, pst->tab.data(), static_cast<int>(nTaille)};
}

// Money is a two's-complement integer of millionths in five 16-bit words, low first.
double dMonnaie(const unsigned char* pby) noexcept {
    __int128 n = 0;
    for (int i = 9; i >= 0; --i) n = (n << 8) | pby[i];
    if (pby[9] & 0x80) n -= static_cast<__int128>(1) << 80;
    return static_cast<double>(n) / 1e6;
}

}  // namespace

bool bConvParam(const CAny* pclValeur, STParametreMem* pst, int* pnTrop) {
    static const uint8_t abyZero[8] = {};
    if (pclValeur == nullptr) {
        EcritScalaire(pst, kcReelCourt, abyZero, 4);
        return true;
    }
    CAny cl(*pclValeur);
    // Money, and the single float whose payload a real read would misread, are kept as reals.
    if (cl.nGetTypeCode() == 0x0a) {
        const double d = dMonnaie(cl.pbyValeur());
        if (cl.__nCastTo(0x0c) > ANY_SUCCES_MAX || cl.nGetTypeCode() != 0x0c) cl.SetR8(d);
    } else if (cl.nGetTypeCode() == 0x0b) {
        double d = 0;
        cl.nGetREAL(&d);
        cl.SetR8(d);
    }
    const int nType = cl.nGetTypeCode();
    if (bTexteLarge(nType) || bTexteOctets(nType)) {
        const CAny_Intern* pclOps = cl.pclOperations();
        unsigned long nTaille = 0;
        void* pv = nullptr;
        if (pclOps->nGetDataSize(&nTaille) > ANY_SUCCES_MAX) nTaille = 0;
        if (nTaille > 0 && (pclOps->nGetDataAdr(&pv) > ANY_SUCCES_MAX || pv == nullptr)) nTaille = 0;
        // A buffer carries no terminator of its own: one is added, as 8-bit texts have one.
        const unsigned long nStocke = nTaille + (nType == 0x1c ? 1 : 0);
        if (nStocke > static_cast<unsigned long>(kTailleMaxDonnee)) {
            *pnTrop = static_cast<int>(nStocke > 0x7fffffffUL ? 0x7fffffffUL : nStocke);
            return false;
        }
        const auto* pby = static_cast<const uint8_t*>(pv);
        pst->tab.assign(pby, pby + nTaille);
        if (nType == 0x1c) pst->tab.push_back(0);
        pst->st = {bTexteLarge(nType) ? kcTexteLarge : kcTexte, pst->tab.data(), static_cast<int>(pst->tab.size())};
        return true;
    }
    switch (nType) {
        case 0x05:
        case 0x09:
            EcritScalaire(pst, kcEntierLong, cl.pbyValeur(), 8);
            return true;
        case 0x01:
        case 0x02:
        case 0x03:
        case 0x04:
        case 0x06:
        case 0x07:
        case 0x08: {
            int64_t n = 0;
            if (nType == 0x01) {
                int32_t n32 = 0;
                std::memcpy(&n32, cl.pbyValeur(), 4);
                n = n32;
            } else {
                unsigned long n64 = 0;
                cl.nGetBitField_64(n64);
                n = static_cast<int64_t>(n64);
            }
            EcritScalaire(pst, kcEntier, &n, 8);
            return true;
        }
        case 0x0c:
            EcritScalaire(pst, kcReel, cl.pbyValeur(), 8);
            return true;
        default:
            EcritScalaire(pst, kcReelCourt, cl.pbyValeur(), 4);
            return true;
    }
}

namespace {

template <typename T>
T tLit(const STDonneeMem& st) noexcept {
    T t{};
    if (st.pby != nullptr && st.nLongueur >= static_cast<int>(sizeof(T))) std::memcpy(&t, st.pby, sizeof(T));
    return t;
}

}  // namespace

bool bVariantDepuisDonnee(const STDonneeMem& st, CAny* pclSortie) noexcept {
    switch (st.cType) {
        case kcTexteLarge: {
            const int nCaracteres = st.nLongueur / static_cast<int>(sizeof(wchar_t)) - 1;
            if (nCaracteres <= 0) return pclSortie->SetDSTRW(L"", 0) == ANY_OK;
            // Records are unaligned: the characters are copied out before they are read as such.
            std::vector<wchar_t> tab;
            try {
                tab.resize(static_cast<size_t>(nCaracteres));
            } catch (...) {
                return false;
            }
            std::memcpy(tab.data(), st.pby, tab.size() * sizeof(wchar_t));
            return pclSortie->SetDSTRW(tab.data(), nCaracteres) == ANY_OK;
        }
        case kcTexte:
        case kcTexteCompare: {
            const int nOctets = st.nLongueur - 1;
            if (nOctets <= 0) return pclSortie->SetDSTRA("", 0) == ANY_OK;
            return pclSortie->SetDSTRA(reinterpret_cast<const char*>(st.pby), nOctets) == ANY_OK;
        }
        case kcReel: pclSortie->SetR8(tLit<double>(st)); return true;
        // Four stored bytes are read as the float they hold, never eight.
        case kcReelCourt: pclSortie->SetR8(tLit<float>(st)); return true;
        case kcEntierCourt: {
            const int16_t n = tLit<int16_t>(st);
            pclSortie->__SetType(0x07);
            pclSortie->pclOperations()->SetValue(&n);
            return true;
        }
        case kcEntier: pclSortie->SetI4(tLit<int32_t>(st)); return true;
        case kcEntierLong: pclSortie->SetI8(tLit<int64_t>(st)); return true;
        default: return pclSortie->SetDSTRW(L"", 0) == ANY_OK;
    }
}

}  // namespace ovmem
