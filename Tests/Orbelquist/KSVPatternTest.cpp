#include "Orbelquist/KSVPattern.hpp"

#include <gtest/gtest.h>

namespace orbelquist {

TEST(KSVPattern, NormalizingMovesTheBandIntoTheOtherImage) {
    const KSVPattern upwards(-700, 900, 40); // row 900 of the second image is row 200 of the first, which lies lower
    EXPECT_EQ(upwards.normalizedPattern(), KSVPattern(700, 200, 40));
    EXPECT_EQ(upwards.normalizedPattern().normalizedPattern(), upwards);
}

} // namespace orbelquist
