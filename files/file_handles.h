// The language's file handles: one table per process, shared by every language object. A handle
// is an index into it; closed entries are reused most recent first.
#pragma once

struct _stFICHIER;

struct _stENTREEFIC {
    int nEtat;  // -2 in use; otherwise the index of the next free entry, -1 ending the list
    _stFICHIER* pstFichier;
};

struct _stCTXFIC {
    _stENTREEFIC* pstEntrees = nullptr;
    int nPremierLibre = -1;
    int nCapacite = 0;
    int nNbUtilise = 0;
    int nPas = 5;
    void* pRecherche = nullptr;  // pending directory search
};

bool _FIC_bInitModule();
void _FIC_FinModule();
// The record of an open handle, or null when the number is not one.
_stFICHIER* _FIC_pstValide(int nHandle);
