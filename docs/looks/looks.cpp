// Draws a small scene and shows each look of SetFilter and each feature of EnableBeautifying
// on it: PNG files into the folder given, and the page docs/looks.md beside it.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "PngFile.h"
#include "engine/capture/Looks.h"
#include "engine/capture/Picture.h"
#include "engine/filters/BeautyFilter.h"

namespace {

constexpr int kWidth = 240;
constexpr int kHeight = 160;

struct Rgb {
    double red;
    double green;
    double blue;
};

Rgb Mix(const Rgb& a, const Rgb& b, double share) {
    return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share,
            a.blue + (b.blue - a.blue) * share};
}

bool Inside(double x, double y, double left, double top, double radiusX, double radiusY) {
    const double dx = (x - left) / radiusX;
    const double dy = (y - top) / radiusY;
    return dx * dx + dy * dy < 1;
}

// Evening sky, a sun, two hills, a row of colours.
Rgb Landscape(int x, int y) {
    if (y > 140) {
        constexpr Rgb kRow[] = {{200, 40, 40}, {220, 140, 30}, {220, 210, 40}, {50, 160, 60},
                                {40, 90, 200}, {130, 60, 170}, {30, 30, 30},   {235, 235, 235}};
        return kRow[x * 8 / kWidth];
    }
    const double far = 92 + 12 * std::sin(x * 0.035);
    const double near = 116 + 9 * std::sin(x * 0.05 + 2);
    if (y > near) {
        return Mix({60, 110, 50}, {35, 70, 35}, (y - near) / 40);
    }
    if (y > far) {
        return {95, 125, 110};
    }
    if (Inside(x, y, 50, 66, 13, 13)) {
        return {255, 225, 140};
    }
    return Mix({80, 130, 210}, {240, 190, 150}, y / 100.0);
}

// A head: hair, skin lit from the left, eyes, a mouth.
bool Head(int x, int y, Rgb& colour) {
    constexpr double kX = 168;
    constexpr double kY = 78;
    if (Inside(x, y, kX - 14, kY - 6, 5, 3) || Inside(x, y, kX + 14, kY - 6, 5, 3)) {
        colour = {40, 40, 45};
    } else if (Inside(x, y, kX, kY + 24, 11, 3)) {
        colour = {170, 70, 75};
    } else if (Inside(x, y, kX, kY + 4, 32, 42)) {
        const Rgb lit{232, 188, 162};
        const Rgb shade{176, 122, 96};
        colour = Mix(lit, shade, std::clamp((x - kX + 32) / 64, 0.0, 1.0));
    } else if (Inside(x, y, kX, kY - 10, 38, 44)) {
        colour = {70, 48, 36};
    } else {
        return false;
    }
    return true;
}

struct Scene {
    std::vector<unsigned char> luma = std::vector<unsigned char>(kWidth * kHeight);
    std::vector<unsigned char> u = std::vector<unsigned char>(kWidth * kHeight / 4);
    std::vector<unsigned char> v = std::vector<unsigned char>(kWidth * kHeight / 4);

    vaxoengine::Picture View() {
        return {luma.data(), u.data(), v.data(), kWidth, kHeight, kWidth, kWidth / 2, kWidth / 2};
    }
};

unsigned char Level(double value) {
    return static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
}

// With the grain of a small camera.
Scene Draw() {
    Scene scene;
    std::mt19937 random(20261122);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same picture
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            Rgb c = Landscape(x, y);
            Head(x, y, c);
            const double grain = static_cast<double>(random() % 7) - 3;
            const auto at = static_cast<std::size_t>(y * kWidth + x);
            const auto half = static_cast<std::size_t>(y / 2 * (kWidth / 2) + x / 2);
            scene.luma[at] = Level(16 + 0.257 * c.red + 0.504 * c.green + 0.098 * c.blue + grain);
            scene.u[half] = Level(128 - 0.148 * c.red - 0.291 * c.green + 0.439 * c.blue);
            scene.v[half] = Level(128 + 0.439 * c.red - 0.368 * c.green - 0.071 * c.blue);
        }
    }
    return scene;
}

bool Write(const std::string& path, const Scene& scene) {
    vaxoapp::Picture picture;
    picture.width = kWidth;
    picture.height = kHeight;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double luma = 1.164 * (scene.luma[static_cast<std::size_t>(y * kWidth + x)] - 16);
            const auto half = static_cast<std::size_t>(y / 2 * (kWidth / 2) + x / 2);
            const double u = scene.u[half] - 128;
            const double v = scene.v[half] - 128;
            for (const double value :
                 {luma + 1.596 * v, luma - 0.392 * u - 0.813 * v, luma + 2.017 * u, 255.0}) {
                picture.rgba.push_back(Level(value));
            }
        }
    }
    std::string error;
    if (!vaxoapp::WritePng(path, picture, error)) {
        std::cerr << error << "\n";
        return false;
    }
    return true;
}

struct Feature {
    unsigned features;
    const char* file;
    const char* text;
};

constexpr Feature kFeatures[] = {{1, "smooth", "smooth skin"},
                                 {2, "whiten", "white skin"},
                                 {4, "sharpen", "sharp outlines"},
                                 {7, "all", "all three"}};

}  // namespace

// looks FOLDER PAGE
int main(int count, char** words) {
    if (count != 3) {
        std::cerr << "usage: vaxo_looks FOLDER PAGE\n";
        return 2;
    }
    const std::string folder = words[1];
    std::ofstream page(words[2]);
    page << "# Looks and beautifying\n\nMade by `script/looks` from a drawn scene.\n\n"
            "`SetFilter(index)`:\n\n| index | look | |\n|---|---|---|\n";
    for (int i = 0; i < vaxoengine::kLooks; ++i) {
        Scene scene = Draw();
        vaxoengine::ApplyLook(i, scene.View());
        const std::string name = vaxoengine::LookAt(i).name;
        if (!Write(folder + "/" + name + ".png", scene)) {
            return 1;
        }
        page << "| " << i << " | " << name << " | ![" << name << "](looks/" << name << ".png) |\n";
    }
    page
        << "\n`EnableBeautifying(features)`, a sum; 0 is off:\n\n| features | | |\n|---|---|---|\n";
    vaxoengine::BeautyFilter filter;
    for (const Feature& feature : kFeatures) {
        Scene scene = Draw();
        filter.Apply(feature.features, scene.View());
        if (!Write(folder + "/beauty-" + feature.file + ".png", scene)) {
            return 1;
        }
        page << "| " << feature.features << " | " << feature.text << " | ![" << feature.text
             << "](looks/beauty-" << feature.file << ".png) |\n";
    }
    return page.flush() ? 0 : 1;
}
