#include "media/NumberText.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ld::test
{
namespace
{

TEST (NumberText, IsTheNumberThatATextBeginsWith)
{
    const std::pair<const char*, double> cases[] = {
        { "48000", 48000.0 },
        { " -1.5e3 Hz", -1500.0 },
        { "29,97", 29.0 },
        { "none", 0.0 },
        { "", 0.0 },
        { "1e", 1.0 },
        { "1e-", 1.0 },
        { "2e00000000000003", 2000.0 },
        { "1e-0000005", 1e-5 },
        { "7 bytes 99999999", 7.0 },
    };

    for (const auto& [text, number] : cases)
        EXPECT_DOUBLE_EQ (realNumberIn (text), number) << text;

    EXPECT_EQ (realNumberIn ("1e99999999999999999999"), HUGE_VAL);
    EXPECT_EQ (realNumberIn ("-1E+99999999999999999999"), -HUGE_VAL);
    EXPECT_EQ (realNumberIn ("1e-99999999999999999999"), 0.0);
}

}    // namespace
}    // namespace ld::test
