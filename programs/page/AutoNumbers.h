#pragma once

#include <optional>
#include <string>
#include <vector>

#include "programs/options/Settings.h"
#include "programs/page/PageCounts.h"

namespace platen_tool {

// What a run's automatic settings come to on a page.
struct AutoNumbers {
    std::vector<std::vector<LevelsStep>> steps;  // in the place of each automatic step, in their order; maybe none
    std::optional<double> threshold;             // percent
    std::vector<std::string> messages;           // what couldn't be found, and why
};

// The numbers for a page. Counts are those of the lines that come to the tone step; each automatic step sees them
// as the steps before it leave them.
//
//   --auto-levels   black and white as --stats suggests them: the least levels that LOW, and 100 - HIGH, percent of
//                   the samples of all channels together lie below or at. They are left alone where they lie fewer
//                   than 32 levels apart, or those of each channel by itself do: a blank page's grain is no
//                   picture, nor is one colour. White is one level less where the levels' rounding would take it
//                   to 254.
//   --auto-white    the paper is the commonest lightness, over five neighbouring ones, from 96 on; less than 4
//                   percent of the pixels are no paper. White is the mean of those pixels, channel by channel, or
//                   one level less where the levels' rounding would take it to 254.
//   --auto-threshold=otsu
//                   the level that parts the tones, as the tone steps leave them, so that the variance between both
//                   parts is largest (N. Otsu, 1979); of several equally good ones the middle. It is given as
//                   (level - 0.5) / 2.55 percent with two decimals, which parts at the same level. Means less than
//                   32 levels apart: left alone.
//
// Below 64 pixels nothing is found.
AutoNumbers FindNumbers(const Settings& settings, const PageCounts& counts);

// The settings with these numbers instead of automatic ones; nothing about them is automatic any more.
Settings WithNumbers(Settings settings, const AutoNumbers& numbers);

// The options of a command line with the options that give the numbers instead of automatic ones.
std::vector<GivenOption> WithNumbers(const std::vector<GivenOption>& options, const AutoNumbers& numbers);

// The numbers as they would be typed: "--levels=12,240", "--threshold=49.61".
std::vector<std::string> NumberOptions(const AutoNumbers& numbers);

}  // namespace platen_tool
