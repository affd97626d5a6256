// Satellite lists (one column per satellite: row 0 the satellite index, then
// optional value rows) and parameter lists of the PPP filter.
#include <cmath>

#include "common/gnsscmn.h"
#include "engine/EpochLookup.h"
#include "engine/NormalEquations.h"

namespace {

// Exchange sort: every later entry with a strictly greater elevation is
// swapped into position i at once, so equal elevations keep their order.
template <typename Swap>
void ExchangeSortDescending(double* elev, int n, Swap swapOthers)
{
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j)
            if (elev[j] > elev[i]) {
                std::swap(elev[i], elev[j]);
                swapOthers(i, j);
            }
}

// Sorts the columns of a list with rows index, elevation and optionally a second value.
int SortListByRow1(Matrix& list, int rows)
{
    if (static_cast<int>(list.RowNo()) < rows)
        return 0;
    const int n = static_cast<int>(list.ColNo());
    if (n > MAXSATNUM)
        return 0;
    int prn[MAXSATNUM];
    double elev[MAXSATNUM], other[MAXSATNUM];
    for (int i = 0; i < n; ++i) {
        prn[i] = Round(list(0, i));
        elev[i] = list(1, i);
        other[i] = rows > 2 ? list(2, i) : 0.0;
    }
    const int ok = rows > 2 ? SortSatsByElev(prn, elev, other, n) : SortSatsByElev(prn, elev, n);
    for (int i = 0; i < n; ++i) {
        list(0, i) = prn[i];
        list(1, i) = elev[i];
        if (rows > 2)
            list(2, i) = other[i];
    }
    return ok;
}

bool InUse(const tagGPSOBSONEEPO* epoch, int iprn)
{
    const int k = GetSatIndexInEpo(epoch, iprn);
    return k >= 0 && epoch->sat[k].bUsed == 1;
}

}  // namespace

int SortSatsByElev(int* prn, double* elev, double* other, int n)
{
    if (!prn || !elev || !other)
        return 0;
    ExchangeSortDescending(elev, n, [&](int i, int j) {
        std::swap(prn[i], prn[j]);
        std::swap(other[i], other[j]);
    });
    return 1;
}

int SortSatsByElev(int* prn, double* elev, int n)
{
    if (!prn || !elev)
        return 0;
    ExchangeSortDescending(elev, n, [&](int i, int j) { std::swap(prn[i], prn[j]); });
    return 1;
}

int SortMatrixByElev(Matrix& list)
{
    return SortListByRow1(list, 3);
}

int SortMatrixByElev2(Matrix& list)
{
    return SortListByRow1(list, 2);
}

int SortMatrixByElev(Matrix& list, const tagGPSOBSONEEPO* epoch)
{
    const int n = static_cast<int>(list.ColNo());
    if (list.RowNo() < 1 || n > MAXSATNUM)
        return 0;
    int prn[MAXSATNUM];
    double elev[MAXSATNUM];
    for (int i = 0; i < n; ++i) {
        prn[i] = Round(list(0, i));
        const int k = GetSatIndexInEpo(epoch, prn[i]);
        if (k < 0)
            return 0;
        elev[i] = epoch->sat[k].dElev;
    }
    SortSatsByElev(prn, elev, n);
    for (int i = 0; i < n; ++i)
        list(0, i) = prn[i];
    return 1;
}

int GetIndexInMatrixC(int id, const Matrix& list)
{
    if (list.RowNo() < 1)
        return -1;
    for (unsigned j = 0; j < list.ColNo(); ++j)
        if (Round(list(0, j)) == id)
            return static_cast<int>(j);
    return -1;
}

int GetIndexInMatrix(const Matrix& m, double v)
{
    if (m.ColNo() < 1)
        return -1;
    for (unsigned i = 0; i < m.RowNo(); ++i)
        if (m(i, 0) == v)
            return static_cast<int>(i);
    return -1;
}

int GetIndexInMatrixCol(const Matrix& list, double v)
{
    if (list.RowNo() < 1)
        return -1;
    for (unsigned j = 0; j < list.ColNo(); ++j)
        if (list(0, j) == v)
            return static_cast<int>(j);
    return -1;
}

int GenMatrixSatsCmn(Matrix& out, const Matrix& listA, const Matrix& listB)
{
    const unsigned rows = listA.RowNo();
    if (rows != 1 && rows != 2)
        return 0;
    const unsigned outRows = rows == 2 ? 3 : 1;
    double kept[3][MAXSATNUM];
    int n = 0;
    for (unsigned j = 0; j < listB.ColNo() && n < MAXSATNUM; ++j) {
        const int a = GetIndexInMatrixCol(listA, listB(0, j));
        if (a < 0)
            continue;
        kept[0][n] = listB(0, j);
        if (rows == 2) {
            // Both value rows of listA travel along.
            kept[1][n] = listA(1, a);
            kept[2][n] = listA.RowNo() > 2 ? listA(2, a) : 0.0;
        }
        ++n;
    }
    out.SetSize(outRows, n);
    for (int j = 0; j < n; ++j)
        for (unsigned r = 0; r < outRows; ++r)
            out(r, j) = kept[r][j];
    return 1;
}

int GenMatrixSatsCmn(Matrix& out, const Matrix& list, const tagGPSOBSONEEPO* epoch)
{
    // Keeps the list's value rows for the satellites in use in the epoch.
    const unsigned rows = list.RowNo();
    if (rows < 1)
        return 0;
    int columns[MAXSATNUM];
    int n = 0;
    for (unsigned j = 0; j < list.ColNo() && n < MAXSATNUM; ++j)
        if (InUse(epoch, Round(list(0, j))))
            columns[n++] = static_cast<int>(j);
    out.SetSize(rows, n);
    for (int k = 0; k < n; ++k)
        for (unsigned r = 0; r < rows; ++r)
            out(r, k) = list(r, columns[k]);
    return 1;
}

int GenMatrixSatsCmnN(Matrix& out, const Matrix& list, const tagGPSOBSONEEPO* epoch)
{
    // Satellite indexes only.
    if (list.RowNo() < 1)
        return 0;
    double kept[MAXSATNUM];
    int n = 0;
    for (unsigned j = 0; j < list.ColNo() && n < MAXSATNUM; ++j)
        if (InUse(epoch, Round(list(0, j))))
            kept[n++] = list(0, j);
    out.SetSize(1, n);
    for (int k = 0; k < n; ++k)
        out(0, k) = kept[k];
    return 1;
}

int GenMatrixIndexC(Matrix& index, const Matrix& sats, const Matrix& list)
{
    if (sats.RowNo() < 1)
        return 0;
    index.SetSize(1, sats.ColNo());
    for (unsigned j = 0; j < sats.ColNo(); ++j)
        index(0, j) = GetIndexInMatrixCol(list, sats(0, j));
    return 1;
}

int GenMatrix_Para(Matrix& newList, const Matrix& oldList, int& nextId, const Matrix& ambList,
                   const tagGPSOBSONEEPO* epoch, int nFirst)
{
    int taken = 0;
    for (int i = 0; i < epoch->nSatNum; ++i) {
        const tagOBSONESAT& s = epoch->sat[i];
        if (s.bUsed != 1)
            continue;
        const int column = nFirst + taken;
        if (column >= static_cast<int>(newList.ColNo()))
            return 0;
        const int f = GetIndexInMatrixCol(ambList, s.iprn);
        if (f >= 0 && s.nSmoothState == 3 && nFirst + f < static_cast<int>(oldList.ColNo()))
            newList(0, column) = oldList(0, nFirst + f);
        else
            newList(0, column) = nextId++;
        ++taken;
    }
    return 1;
}

int GenMatrix_Para(Matrix& newList, const Matrix& oldList, int& nextId, const Matrix& ambList, const Matrix& sats,
                   const tagGPSOBSONEEPO* epochs[2])
{
    // Column 0 of the satellite list is not a satellite; a satellite must be
    // in both epochs and continue its arc in both to keep its identifier.
    const int nFirst = static_cast<int>(newList.ColNo()) - (static_cast<int>(sats.ColNo()) - 1);
    for (unsigned j = 1; j < sats.ColNo(); ++j) {
        const int iprn = Round(sats(0, j));
        const int kPrev = GetSatIndexInEpo(epochs[0], iprn);
        const int kCur = GetSatIndexInEpo(epochs[1], iprn);
        if (kPrev < 0 || kCur < 0)
            return 0;
        const int column = nFirst + static_cast<int>(j) - 1;
        if (column < 0)
            return 0;
        const int f = GetIndexInMatrixCol(ambList, iprn);
        const bool continuing = f >= 0 && epochs[0]->sat[kPrev].nSmoothState == 3 &&
                                epochs[1]->sat[kCur].nSmoothState == 3;
        if (continuing && nFirst + f < static_cast<int>(oldList.ColNo()))
            newList(0, column) = oldList(0, nFirst + f);
        else
            newList(0, column) = nextId++;
    }
    return 1;
}
