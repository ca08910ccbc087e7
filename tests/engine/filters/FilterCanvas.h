// Pictures for the tests of the filters: made from a seed, with guard bytes around every line.
#ifndef VAXO_TESTS_ENGINE_FILTERS_FILTERCANVAS_H
#define VAXO_TESTS_ENGINE_FILTERS_FILTERCANVAS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/capture/Picture.h"

// A colour as two samples.
struct Colour {
    unsigned char u;
    unsigned char v;
};
constexpr Colour kSkin{108, 152};
constexpr Colour kGrey{128, 128};
constexpr Colour kGreen{70, 75};

class Canvas {
public:
    // The lines are `gap` bytes longer than they are wide; these bytes are guards.
    Canvas(int width, int height, int gap = 0);

    vaxoengine::Picture View();
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    unsigned char& Y(int x, int y) { return m_planes[0][At(x, y, m_width)]; }
    unsigned char& U(int x, int y) { return m_planes[1][At(x, y, (m_width + 1) / 2)]; }
    unsigned char& V(int x, int y) { return m_planes[2][At(x, y, (m_width + 1) / 2)]; }
    // Of the colour sample that a pixel lies in.
    void SetColour(int x, int y, Colour colour);
    void FillColour(Colour colour);
    // Adds to every pixel's luma a number between -peak and +peak, all alike likely.
    void AddNoise(int peak, std::uint32_t seed);
    bool GuardsAreWhole() const;
    bool operator==(const Canvas& other) const { return m_planes == other.m_planes; }

private:
    std::size_t At(int x, int y, int width) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width + m_gap) +
               static_cast<std::size_t>(x);
    }

    int m_width;
    int m_height;
    int m_gap;
    std::array<std::vector<unsigned char>, 3> m_planes;
};

// Within left <= x < right, top <= y < bottom.
struct Area {
    int left;
    int top;
    int right;
    int bottom;
};
double MeanLuma(Canvas& canvas, const Area& area);
double Deviation(Canvas& canvas, const Area& area);

// A face before a grey wall: an oval of skin lit from the left, with dark hair above, eyes of
// white and black, and noise on everything. 320 x 240.
Canvas Face();
// In Face(): skin without features; the left eye; hair of the colour of skin, but dark.
constexpr Area kCheek{125, 130, 195, 170};
constexpr Area kEye{130, 100, 150, 112};
constexpr Area kHair{130, 30, 190, 70};

#endif
