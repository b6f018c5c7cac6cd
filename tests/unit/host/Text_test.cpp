#include "host/Text.h"

#include <gtest/gtest.h>

TEST(Text, OfAmounts)
{
    EXPECT_EQ(SizeText(0) + ' ' + SizeText(1) + ' ' + SizeText(1023) + ' ' + SizeText(1024),
              "0 bytes 1 byte 1023 bytes 1.0 KiB");
    EXPECT_EQ(SizeText(std::uint64_t{64} << 20) + ' ' + SizeText(std::uint64_t{5000} << 40),
              "64.0 MiB 5000.0 TiB");
    EXPECT_EQ(DurationText(59) + ' ' + DurationText(187) + ' ' + DurationText(3727), "0:59 3:07 1:02:07");
    EXPECT_EQ(Quoted("a\x1B[2J\xE2\x80\xAE\xFFz"), "\"a?[2J?\xEF\xBF\xBDz\"");
}
