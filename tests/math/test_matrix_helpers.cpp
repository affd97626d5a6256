#include <gtest/gtest.h>

#include <vector>

#include "math/MatrixHelpers.h"

using Matrix = math::matrix<double>;
using Rows = std::vector<std::vector<double>>;

namespace {

// 3 x 4 matrix with element (i, j) = 10 i + j.
Matrix Numbered()
{
    Matrix m(3, 4);
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j < 4; ++j)
            m(i, j) = 10.0 * i + j;
    return m;
}

}  // namespace

TEST(MatrixHelpers, ExchangeRowsAndColumns)
{
    Matrix m = Numbered();
    EXPECT_EQ(ExchangeCol(&m, 0, 3), 1);
    EXPECT_EQ(m.ToArray(), (Rows{{3, 1, 2, 0}, {13, 11, 12, 10}, {23, 21, 22, 20}}));
    EXPECT_EQ(ExchangeRow(&m, 2, 0), 1);
    EXPECT_EQ(m.ToArray(), (Rows{{23, 21, 22, 20}, {13, 11, 12, 10}, {3, 1, 2, 0}}));
    EXPECT_EQ(ExchangeRow(&m, 1, 1), 1);
    EXPECT_EQ(m.ToArray()[1], (std::vector<double>{13, 11, 12, 10}));

    EXPECT_EQ(ExchangeCol(&m, 0, 4), 0);
    EXPECT_EQ(ExchangeRow(&m, -1, 0), 0);
}

TEST(MatrixHelpers, DeleteRowAndColumn)
{
    Matrix m = Numbered();
    const Matrix copy = m;
    EXPECT_EQ(DeleteRow(&m, 1), 1);
    EXPECT_EQ(m.ToArray(), (Rows{{0, 1, 2, 3}, {20, 21, 22, 23}}));
    EXPECT_EQ(DeleteCol(&m, 0), 1);
    EXPECT_EQ(DeleteCol(&m, 2), 1);
    EXPECT_EQ(m.ToArray(), (Rows{{1, 2}, {21, 22}}));
    EXPECT_EQ(copy.ToArray(), Numbered().ToArray());

    EXPECT_EQ(DeleteRow(&m, 2), 0);
    EXPECT_EQ(DeleteCol(&m, 2), 0);
    EXPECT_EQ(m.ToArray(), (Rows{{1, 2}, {21, 22}}));

    Matrix column(2, 1);
    EXPECT_EQ(DeleteCol(&column, 0), 1);
    EXPECT_EQ(column.RowNo(), 2u);
    EXPECT_EQ(column.ColNo(), 0u);
}

TEST(MatrixHelpers, GetSubMatrix)
{
    const Matrix src = Numbered();
    Matrix dst(5, 5);
    EXPECT_EQ(GetSubMatrix(&dst, &src, 1, 2, 1, 3), 1);
    EXPECT_EQ(dst.ToArray(), (Rows{{11, 12, 13}, {21, 22, 23}}));
    EXPECT_EQ(GetSubMatrix(&dst, &src, 2, 2, 0, 1), 0);
    EXPECT_EQ(GetSubMatrix(&dst, &src, 0, 1, 2, 3), 0);
    EXPECT_EQ(dst.ToArray(), (Rows{{11, 12, 13}, {21, 22, 23}}));

    // Source and destination may be the same matrix, also at the same size.
    Matrix self = Numbered();
    EXPECT_EQ(GetSubMatrix(&self, &self, 1, 2, 2, 2), 1);
    EXPECT_EQ(self.ToArray(), (Rows{{12, 13}, {22, 23}}));
    EXPECT_EQ(GetSubMatrix(&self, &self, 0, 2, 0, 2), 1);
    EXPECT_EQ(self.ToArray(), (Rows{{12, 13}, {22, 23}}));
}

TEST(MatrixHelpers, AddSubMatrix)
{
    Matrix dst = Numbered();
    Matrix add(2, 2);
    add(0, 0) = 100;
    add(1, 1) = 200;
    EXPECT_EQ(AddSubMatrix(&dst, &add, 1, 2), 1);
    EXPECT_EQ(dst.ToArray(), (Rows{{0, 1, 2, 3}, {10, 11, 112, 13}, {20, 21, 22, 223}}));
    EXPECT_EQ(AddSubMatrix(&dst, &add, 2, 0), 0);
    EXPECT_EQ(AddSubMatrix(&dst, &add, 0, 3), 0);

    Matrix twice = Numbered();
    EXPECT_EQ(AddSubMatrix(&twice, &twice, 0, 0), 1);
    EXPECT_EQ(twice.ToArray()[2], (std::vector<double>{40, 42, 44, 46}));
}

TEST(MatrixHelpers, GetPartColumns)
{
    Matrix even = Numbered();
    EXPECT_EQ(GetPartClo(&even, 0), 1);
    EXPECT_EQ(even.ToArray(), (Rows{{0, 2}, {10, 12}, {20, 22}}));
    Matrix odd = Numbered();
    EXPECT_EQ(GetPartClo(&odd, 1), 1);
    EXPECT_EQ(odd.ToArray(), (Rows{{1, 3}, {11, 13}, {21, 23}}));

    Matrix other = Numbered();
    EXPECT_EQ(GetPartClo(&other, 2), 0);
    Matrix three(2, 3);
    EXPECT_EQ(GetPartClo(&three, 0), 0);
    EXPECT_EQ(three.ColNo(), 3u);
}

TEST(MatrixHelpers, RowToDiagonalMatrix)
{
    Matrix row(1, 3);
    row(0, 0) = 1;
    row(0, 1) = 2;
    row(0, 2) = 3;
    EXPECT_EQ(Row2SquareMatrix(&row), 1);
    EXPECT_EQ(row.ToArray(), (Rows{{1, 0, 0}, {0, 2, 0}, {0, 0, 3}}));
    EXPECT_EQ(Row2SquareMatrix(&row), 0);
}
