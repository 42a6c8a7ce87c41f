// Lists, curve areas and weights against the dense form, whatever was asked before.
#include "search/adaptive/listed_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>
#include <xtensor/xbuilder.hpp>
#include <xtensor/xview.hpp>

#include "reference/dense_adaptive.h"
#include "search/adaptive/similarity_curve.h"
#include "support/listed_rows.h"
#include "support/plain_neighbours.h"
#include "support/random_library.h"

namespace quillon::test {
namespace {

Rows allRows(std::size_t count) {
    Rows rows(count);
    std::iota(rows.begin(), rows.end(), 0);
    return rows;
}

ListMemo memoOf(const RandomLibrary& library, std::size_t workers = 1) {
    return emptyMemo(sideOf(library.queryShape, library.shapeMatrix, workers),
                     sideOf(library.queryText, library.textMatrix, workers));
}

std::uint32_t bitsOf(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

/// NaN equals NaN.
void expectSame(float actual, float expected, const char* what) {
    EXPECT_TRUE(bitsOf(actual) == bitsOf(expected) || (std::isnan(actual) && std::isnan(expected)))
        << what << ' ' << actual << ", expected " << expected;
}

void expectSame(const NeighbourList& actual, const NeighbourList& expected) {
    EXPECT_EQ(labelsOf(actual), labelsOf(expected));
    expectSame(actual.curveArea, expected.curveArea, "area");
}

/// Both sides by the dense form.
struct DenseRows {
    std::vector<reference::Labels> labels;
    std::vector<reference::Floats> curves;
    std::vector<reference::Floats> weights;
};

DenseRows denseRows(const RandomLibrary& library) {
    DenseRows dense;
    for (const reference::Floats& side :
         {reference::Floats(
              xt::concatenate(xt::xtuple(library.queryShape, library.shapeMatrix), 0)),
          reference::Floats(
              xt::concatenate(xt::xtuple(library.queryText, library.textMatrix), 0))}) {
        const reference::Floats distances = reference::squaredDistances(side);
        const auto others = static_cast<std::int32_t>(distances.shape(0)) - 1;
        dense.labels.push_back(
            reference::buildNeighbourLists(distances, std::min(others, 5)).labels);
        dense.curves.push_back(reference::neighbourSimilarityCurves(distances));
    }
    dense.weights = reference::curveAreaWeights(dense.curves);
    return dense;
}

void expectDense(const ListedRow& listed, const DenseRows& dense) {
    for (std::size_t s = 0; s < 2; ++s) {
        Rows labels;
        for (const std::int64_t label : xt::view(dense.labels[s], listed.row, xt::all())) {
            labels.push_back(static_cast<Row>(label));
        }
        ASSERT_EQ(labelsOf(listed.lists[s]), labels) << "row " << listed.row << ", side " << s;
        std::vector<float> curve;
        for (const float similarity : xt::view(dense.curves[s], listed.row, xt::all())) {
            curve.push_back(similarity);
        }
        expectSame(listed.lists[s].curveArea, curveArea(curve), "area");
        if (listed.row != 0) {
            expectSame(listed.weights[s], dense.weights[s](0, listed.row), "weight");
        }
    }
}

void expectDenseRows(const RandomLibrary& library, const Rows& rows, std::size_t workers) {
    const DenseRows dense = denseRows(library);
    ListMemo memo = memoOf(library, workers);
    const std::vector<ListedRow> listed = listedRows(memo, rows);
    ASSERT_EQ(listed.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ASSERT_EQ(listed[i].row, rows[i]);
        expectDense(listed[i], dense);
    }
}

TEST(ListedRows, EqualTheDenseForm) {
    std::size_t libraries = 0;
    for (const LibraryKind kind : allLibraryKinds) {
        for (const std::uint32_t rowCount :
             {1U, 2U, 5U, 6U, 7U, 8U, 100U, 101U, 102U, 103U, 300U}) {
            SCOPED_TRACE(nameOf(kind) + ", " + std::to_string(rowCount) + " rows");
            expectDenseRows(makeRandomLibrary(kind, LibraryKind::clustered, rowCount - 1, rowCount),
                            allRows(rowCount),
                            std::array<std::size_t, 3>{1, 2, 7}[++libraries % 3]);
        }
    }
}

TEST(ListedRows, AreTheSameForOneRowAlone) {
    for (const LibraryKind kind : allLibraryKinds) {
        const RandomLibrary library = makeRandomLibrary(kind, kind, 150, 5);
        for (const Row row : {0U, 1U, 77U, 150U}) {
            SCOPED_TRACE(nameOf(kind));
            expectDenseRows(library, {row}, 1);
        }
    }
}

// More rows at once than the lists of are made at a time, all of them nearly identical.
TEST(ListedRows, EqualTheDenseFormForManyRowsAtOnce) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::nearTwins, LibraryKind::uniform, 2400, 1);
    ListMemo memo = memoOf(library, 2);
    ASSERT_GT(memo[0].rows.distinct.size(), 1100U);
    ASSERT_GT(memo[1].rows.distinct.size(), 2048U);
    expectDenseRows(library, allRows(2401), 2);
}

TEST(ListedRows, RepeatAndReorderRowsAsTheyAreAskedFor) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::oneCommon, LibraryKind::clustered, 40, 2);
    expectDenseRows(library, {40, 3, 3, 0, 12, 40, 0}, 1);
    ListMemo memo = memoOf(library);
    EXPECT_TRUE(listedRows(memo, Rows{}).empty());
}

TEST(ListedRows, TheQuerysShapeSideCountsAtLeastItsMinimum) {
    std::size_t floored = 0;
    std::size_t above = 0;
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        const auto kinds = std::array{LibraryKind::clustered, LibraryKind::uniform,
                                      LibraryKind::oneHot, LibraryKind::allTwins};
        const RandomLibrary library =
            makeRandomLibrary(kinds[seed % 4], kinds[seed / 4 % 4], 30, seed);
        const DenseRows dense = denseRows(library);
        ListMemo memo = memoOf(library);
        const ListedRow query = listedRows(memo, Rows{0}).front();
        const float unfloored = dense.weights[0](0, 0);
        const bool isAbove = unfloored > minShapeWeight;
        EXPECT_EQ(query.weights[0], isAbove ? unfloored : 0.4F) << seed;
        EXPECT_EQ(query.weights[1], 1.0F - query.weights[0]) << seed;
        ++(isAbove ? above : floored);
    }
    EXPECT_GT(floored, 5U);
    EXPECT_GT(above, 5U);
}

TEST(NeighbourLists, OfIdenticalRowsMayHoldTheRowAndMissAnother) {
    const RandomLibrary library =
        makeRandomLibrary(LibraryKind::allTwins, LibraryKind::allTwins, 7, 1);
    ListMemo memo = memoOf(library);
    for (const NeighbourList& list : neighbourLists(memo[0], allRows(8))) {
        EXPECT_EQ(labelsOf(list), (Rows{1, 2, 3, 4, 5}));
        EXPECT_EQ(list.curveArea, 0.0F);
    }
}

TEST(NeighbourLists, AreMadeOnceForIdenticalRows) {
    const NarrowSide narrow({0, 1, 0, 1, 1, 2, 3, 0, 5, 7, 11, 13});
    ListMemo memo = emptyMemo(sideOf(narrow), sideOf(narrow));
    neighbourLists(memo[0], Rows{3, 4});
    EXPECT_EQ(memo[0].lists.size(), 1U);
    neighbourLists(memo[0], Rows{1, 7, 2, 1});
    EXPECT_EQ(memo[0].lists.size(), 2U);
    neighbourLists(memo[0], allRows(12));
    EXPECT_EQ(memo[0].lists.size(), memo[0].rows.distinct.size());
    EXPECT_TRUE(memo[1].lists.empty());
}

TEST(NeighbourLists, DoNotDependOnWhatWasAskedBefore) {
    std::mt19937 random(3);
    for (const LibraryKind kind : allLibraryKinds) {
        SCOPED_TRACE(nameOf(kind));
        const RandomLibrary library = makeRandomLibrary(kind, kind, 200, 9);
        ListMemo all = memoOf(library);
        const std::vector<NeighbourList> expected = neighbourLists(all[0], allRows(201));
        ListMemo memo = memoOf(library, 2);
        for (int question = 0; question < 12; ++question) {
            Rows rows(random() % 40);
            std::generate(rows.begin(), rows.end(),
                          [&] { return static_cast<Row>(random() % 201); });
            const std::vector<NeighbourList> lists = neighbourLists(memo[0], rows);
            ASSERT_EQ(lists.size(), rows.size());
            for (std::size_t i = 0; i < rows.size(); ++i) {
                expectSame(lists[i], expected[rows[i]]);
            }
        }
    }
}

TEST(NeighbourLists, OfRowsThatAreNotNumbersAreEmpty) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const NarrowSide narrow({0, 1, nan, 2, -infinity, 3, 3e38F, 4, 5, 6, 7});
    ListMemo memo = emptyMemo(sideOf(narrow), sideOf(narrow));
    const std::vector<NeighbourList> lists = neighbourLists(memo[0], Rows{2, 4, 6, 0});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(labelsOf(lists[i]), Rows(5, noRow));
        EXPECT_EQ(lists[i].curveArea, 0.0F);
    }
    EXPECT_EQ(labelsOf(lists[3]), (Rows{1, 3, 5, 7, 8}));
}

}  // namespace
}  // namespace quillon::test
