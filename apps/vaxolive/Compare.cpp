#include "Compare.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "Arguments.h"
#include "Commands.h"

namespace vaxoapp {

namespace {

constexpr std::size_t kColumns = 16;
constexpr std::size_t kRows = 9;
constexpr std::size_t kCells = kColumns * kRows;
constexpr std::size_t kCounted = kCells * 3 / 4;
constexpr double kLeastContrast = 4;
constexpr double kMostDecibels = 99;

typedef std::array<double, 3> Colour;
typedef std::array<Colour, kCells> Grid;

Colour Average(const Picture& picture, std::size_t column, std::size_t row) {
    const auto width = static_cast<std::size_t>(picture.width);
    const auto height = static_cast<std::size_t>(picture.height);
    const std::size_t left = column * width / kColumns;
    const std::size_t top = row * height / kRows;
    const std::size_t right = std::max(left + 1, (column + 1) * width / kColumns);
    const std::size_t bottom = std::max(top + 1, (row + 1) * height / kRows);
    Colour sum{};
    for (std::size_t y = top; y < bottom; ++y) {
        for (std::size_t x = left; x < right; ++x) {
            const unsigned char* const pixel = picture.rgba.data() + (y * width + x) * 4;
            for (std::size_t i = 0; i < sum.size(); ++i) {
                sum[i] += pixel[i];
            }
        }
    }
    for (double& value : sum) {
        value /= static_cast<double>((right - left) * (bottom - top));
    }
    return sum;
}

Grid Reduce(const Picture& picture) {
    Grid grid;
    for (std::size_t cell = 0; cell < kCells; ++cell) {
        grid[cell] = Average(picture, cell % kColumns, cell / kColumns);
    }
    return grid;
}

double SquaredDistance(const Colour& a, const Colour& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += (a[i] - b[i]) * (a[i] - b[i]) / static_cast<double>(a.size());
    }
    return sum;
}

double Contrast(const Grid& grid) {
    Colour mean{};
    for (const Colour& cell : grid) {
        for (std::size_t i = 0; i < mean.size(); ++i) {
            mean[i] += cell[i] / static_cast<double>(kCells);
        }
    }
    double sum = 0;
    for (const Colour& cell : grid) {
        sum += SquaredDistance(cell, mean) / static_cast<double>(kCells);
    }
    return std::sqrt(sum);
}

struct CompareOptions {
    std::string first;
    std::string second;
    double limit = 20;
    bool json = false;
};

ExitCode Run(const CompareOptions& options) {
    Picture first;
    Picture second;
    std::string error;
    if (!ReadPng(options.first, first, error) || !ReadPng(options.second, second, error)) {
        StatusLine(false).Error(error);
        return Exit_Failed;
    }
    const Likeness likeness = ComparePictures(first, second);
    const char* verdict = "alike";
    if (!likeness.sameShape) {
        verdict = "different shapes";
    } else if (likeness.contrast < kLeastContrast) {
        verdict = "nothing to see in one of them";
    } else if (likeness.decibels < options.limit) {
        verdict = "different";
    }
    const bool isAlike = std::string(verdict) == "alike";
    if (options.json) {
        const auto size = [](const Picture& picture) {
            return JsonObject().Number("width", picture.width).Number("height", picture.height);
        };
        const std::string line = JsonObject()
                                     .Flag("alike", isAlike)
                                     .Text("verdict", verdict)
                                     .Real("decibels", likeness.decibels)
                                     .Real("limit", options.limit)
                                     .Real("contrast", likeness.contrast)
                                     .Objects("sizes", {size(first), size(second)})
                                     .Line();
        std::printf("%s\n", line.c_str());
        return isAlike ? Exit_Ok : Exit_Failed;
    }
    std::printf("%s: %.1f dB, contrast %.1f, %dx%d and %dx%d\n", verdict, likeness.decibels,
                likeness.contrast, first.width, first.height, second.width, second.height);
    return isAlike ? Exit_Ok : Exit_Failed;
}

}  // namespace

Likeness ComparePictures(const Picture& a, const Picture& b) {
    const Grid first = Reduce(a);
    const Grid second = Reduce(b);
    std::array<double, kCells> distances{};
    for (std::size_t cell = 0; cell < kCells; ++cell) {
        distances[cell] = SquaredDistance(first[cell], second[cell]);
    }
    std::sort(distances.begin(), distances.end());
    double mean = 0;
    for (std::size_t i = 0; i < kCounted; ++i) {
        mean += distances[i] / static_cast<double>(kCounted);
    }
    Likeness likeness;
    likeness.decibels =
        mean <= 0 ? kMostDecibels : std::min(kMostDecibels, 10 * std::log10(255.0 * 255.0 / mean));
    likeness.contrast = std::min(Contrast(first), Contrast(second));
    const double shape =
        static_cast<double>(a.width) * b.height / (static_cast<double>(a.height) * b.width);
    likeness.sameShape = shape > 0.98 && shape < 1.02;
    return likeness;
}

Command AddCompare(CLI::App& app) {
    const auto options = std::make_shared<CompareOptions>();
    CLI::App* const command = app.add_subcommand(
        "compare", "Tell whether two snapshots show the same, moving parts aside (status 1: no)");
    command->add_option("first", options->first, "PNG file")->type_name("FILE")->required();
    command->add_option("second", options->second, "PNG file")->type_name("FILE")->required();
    command->add_option("--limit", options->limit, "Decibels that are alike enough (default 20)")
        ->type_name("DECIBELS")
        ->check(Between(0, 99));
    command->add_flag("--json", options->json, "One JSON object");
    return {command, [options] { return Run(*options); }};
}

}  // namespace vaxoapp
