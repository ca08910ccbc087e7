#include "engine/filters/FilterCanvas.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr unsigned char kGuard = 0xA5;

bool InOval(int x, int y, int centreX, int centreY, int radiusX, int radiusY) {
    const double dx = static_cast<double>(x - centreX) / radiusX;
    const double dy = static_cast<double>(y - centreY) / radiusY;
    return dx * dx + dy * dy <= 1;
}

bool In(const Area& area, int x, int y) {
    return x >= area.left && x < area.right && y >= area.top && y < area.bottom;
}

}  // namespace

Canvas::Canvas(int width, int height, int gap) : m_width(width), m_height(height), m_gap(gap) {
    const int halfWidth = (width + 1) / 2;
    const int halfHeight = (height + 1) / 2;
    m_planes[0].assign(At(0, height, width), kGuard);
    m_planes[1].assign(At(0, halfHeight, halfWidth), kGuard);
    m_planes[2] = m_planes[1];
    for (int y = 0; y < height; ++y) {
        std::fill_n(&Y(0, y), width, static_cast<unsigned char>(128));
    }
    FillColour(kGrey);
}

vaxoengine::Picture Canvas::View() {
    const int halfWidth = (m_width + 1) / 2;
    return {m_planes[0].data(), m_planes[1].data(), m_planes[2].data(), m_width,
            m_height,           m_width + m_gap,    halfWidth + m_gap,  halfWidth + m_gap};
}

void Canvas::SetColour(int x, int y, Colour colour) {
    U(x / 2, y / 2) = colour.u;
    V(x / 2, y / 2) = colour.v;
}

void Canvas::FillColour(Colour colour) {
    for (int y = 0; y < m_height; y += 2) {
        for (int x = 0; x < m_width; x += 2) {
            SetColour(x, y, colour);
        }
    }
}

void Canvas::AddNoise(int peak, std::uint32_t seed) {
    const auto range = static_cast<std::uint32_t>(2 * peak + 1);
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            seed = seed * 1664525U + 1013904223U;
            const int noise = static_cast<int>((seed >> 16U) % range) - peak;
            Y(x, y) = static_cast<unsigned char>(std::clamp(Y(x, y) + noise, 0, 255));
        }
    }
}

bool Canvas::GuardsAreWhole() const {
    for (std::size_t plane = 0; plane < 3; ++plane) {
        const int width = plane == 0 ? m_width : (m_width + 1) / 2;
        const auto stride = static_cast<std::size_t>(width + m_gap);
        for (std::size_t i = 0; i < m_planes[plane].size(); ++i) {
            if (i % stride >= static_cast<std::size_t>(width) && m_planes[plane][i] != kGuard) {
                return false;
            }
        }
    }
    return true;
}

double MeanLuma(Canvas& canvas, const Area& area) {
    double sum = 0;
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
            sum += canvas.Y(x, y);
        }
    }
    return sum / ((area.right - area.left) * (area.bottom - area.top));
}

double Deviation(Canvas& canvas, const Area& area) {
    const double mean = MeanLuma(canvas, area);
    double sum = 0;
    for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
            sum += (canvas.Y(x, y) - mean) * (canvas.Y(x, y) - mean);
        }
    }
    return std::sqrt(sum / ((area.right - area.left) * (area.bottom - area.top)));
}

Canvas Face() {
    constexpr Area kOtherEye{170, 100, 190, 112};
    Canvas canvas(320, 240);
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            const bool eye = In(kEye, x, y) || In(kOtherEye, x, y);
            if (y < 80 && InOval(x, y, 160, 110, 75, 100)) {
                canvas.Y(x, y) = 26;  // hair, of the skin's hue
                canvas.SetColour(x, y, {118, 138});
            } else if (eye) {
                const bool pupil = InOval(x, y, 140, 106, 4, 4) || InOval(x, y, 180, 106, 4, 4);
                canvas.Y(x, y) = pupil ? 20 : 200;
                canvas.SetColour(x, y, kGrey);
            } else if (InOval(x, y, 160, 125, 60, 85)) {
                canvas.Y(x, y) = static_cast<unsigned char>(175 - (x - 100) / 6);
                canvas.SetColour(x, y, kSkin);
            } else {
                canvas.Y(x, y) = 90;
                canvas.SetColour(x, y, kGrey);
            }
        }
    }
    canvas.AddNoise(8, 20261122);
    return canvas;
}
