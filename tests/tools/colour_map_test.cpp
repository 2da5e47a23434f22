#include "tools/picture/colour_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tools/picture/contact_sheet.h"
#include "tools/picture/stroke_font.h"

namespace depth_io::tools {
namespace {

constexpr Colour kBlack{0, 0, 0};
constexpr Colour kWhite{255, 255, 255};

TEST(ColourMap, PixelsWithoutAReadingAreBlack) {
  for (const float depth : {0.0F, -1.0F, 0.015F, std::nanf("")}) {
    EXPECT_EQ(depth_colour(depth), kBlack) << depth;
  }
}

TEST(ColourMap, EveryReadingIsClearlyBrighterThanBlack) {
  for (int millimetres = 20; millimetres < 12000; ++millimetres) {
    const Colour colour = depth_colour(static_cast<float>(millimetres) / 1000.0F);
    ASSERT_GT(colour.red + colour.green + colour.blue, 90) << millimetres;
  }
}

TEST(ColourMap, NearIsWarmAndFarIsCool) {
  const Colour near_colour = depth_colour(0.6F);
  const Colour far_colour = depth_colour(6.0F);
  EXPECT_GT(near_colour.red, near_colour.blue);
  EXPECT_GT(far_colour.blue, far_colour.red);
}

TEST(ColourMap, DepthsBeyondTheScaleGetTheColourOfItsEnd) {
  EXPECT_EQ(depth_colour(0.1F), depth_colour(kNearestColourDepth));
  EXPECT_EQ(depth_colour(20.0F), depth_colour(kFarthestColourDepth));
  EXPECT_EQ(depth_colour(std::numeric_limits<float>::infinity()),
            depth_colour(kFarthestColourDepth));
}

TEST(ColourMap, DepthsThatDifferClearlyHaveDifferentColours) {
  EXPECT_FALSE(depth_colour(1.0F) == depth_colour(1.1F));
  EXPECT_FALSE(depth_colour(4.0F) == depth_colour(4.4F));
}

TEST(ColourMap, ADepthPictureHasAColourForEachPixel) {
  const Picture picture = depth_picture({0.0F, 1.0F, 2.0F, 3.0F}, 2, 2);
  EXPECT_EQ(picture.at(0, 0), kBlack);
  EXPECT_EQ(picture.at(1, 0), depth_colour(1.0F));
  EXPECT_EQ(picture.at(0, 1), depth_colour(2.0F));
  EXPECT_EQ(picture.at(1, 1), depth_colour(3.0F));
}

TEST(ColourMap, TheLegendStaysInItsBox) {
  Picture picture(700, kLegendHeight + 20, kBlack);
  draw_legend(picture, 10, 10, 680, kWhite);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const bool inside = x >= 8 && x < 692 && y >= 8 && y < 10 + kLegendHeight;
      if (!inside) {
        ASSERT_EQ(picture.at(x, y), kBlack) << x << " " << y;
      }
    }
  }
}

TEST(StrokeFont, ALongerTextIsWider) { EXPECT_GT(text_width("0.5 m", 10), text_width("0.5", 10)); }

TEST(StrokeFont, DrawsInsideTheWidthItTells) {
  Picture picture(400, 60, kBlack);
  draw_text(picture, 20, 20, 12, "depth-00000042 1.5", kWhite);
  const int end = 20 + static_cast<int>(text_width("depth-00000042 1.5", 12)) + 3;
  for (int y = 0; y < 60; ++y) {
    for (int x = end; x < 400; ++x) ASSERT_EQ(picture.at(x, y), kBlack);
  }
}

TEST(StrokeFont, TextAtTheEdgeIsCutNotWrapped) {
  Picture picture(30, 20, kBlack);
  draw_text(picture, 20, 4, 10, "888", kWhite);
  for (int y = 0; y < 20; ++y) EXPECT_EQ(picture.at(0, y), kBlack);
}

TEST(ContactSheet, WantsTheFirstAndTheLastFrame) {
  const ContactSheet sheet("a recording", 150, true);
  EXPECT_TRUE(sheet.wants(0));
  EXPECT_TRUE(sheet.wants(149));
}

TEST(ContactSheet, TakesSixPairsOrTwelveDepthPictures) {
  for (const bool with_colour : {true, false}) {
    const ContactSheet sheet("a recording", 1000, with_colour);
    int wanted = 0;
    for (long position = 0; position < 1000; ++position) wanted += sheet.wants(position) ? 1 : 0;
    EXPECT_EQ(wanted, with_colour ? 6 : 12);
  }
}

TEST(ContactSheet, AShortRecordingGivesASmallSheet) {
  ContactSheet one("a recording", 1, true);
  EXPECT_TRUE(one.wants(0));
  one.add(Frame(), "depth-00000000");
  ContactSheet four("a recording", 4, true);
  for (int i = 0; i < 4; ++i) four.add(Frame(), "depth-00000000");
  EXPECT_LT(one.draw().width(), four.draw().width());
  EXPECT_LT(one.draw().height(), four.draw().height());
}

}  // namespace
}  // namespace depth_io::tools
