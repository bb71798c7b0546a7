// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

namespace orvel {

// A picture in SVG 1.1 that needs nothing besides itself. Coordinates are in pixels, y downward.
class Svg {
  public:
    Svg(double width, double height, const std::string& title);

    struct TextStyle {
        double size = 13;
        const char* colour = "#2d3748";
        const char* anchor = "start";  // or "middle", "end"
        bool isBold = false;
    };

    void rect(double x, double y, double width, double height, const std::string& colour, double opacity = 1);
    void line(double x1, double y1, double x2, double y2, const std::string& colour, double width = 1);
    void polyline(const std::vector<std::pair<double, double>>& points, const std::string& colour,
                  double width);
    void text(double x, double y, const std::string& text, const TextStyle& style);

    // The whole document. Text is escaped, and what XML cannot hold of it is replaced.
    std::string finish() const { return mBody + "</svg>\n"; }

  private:
    std::string mBody;
};

}  // namespace orvel
