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
