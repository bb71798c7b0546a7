// SPDX-License-Identifier: Apache-2.0
#include "inspect/Svg.h"

#include <nlohmann/json.hpp>

#include "support/Terminal.h"

namespace orvel {
namespace {

// A file's name may hold anything; a JSON string replaces what is not UTF-8.
std::string ValidUtf8(const std::string& text) {
    std::string quoted = nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return nlohmann::json::parse(quoted).get<std::string>();
}

std::string Escape(const std::string& text) {
    std::string out;
    for (char c : EscapeControls(ValidUtf8(text))) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else {
            out += c;
        }
    }
    return out;
}

}  // namespace

Svg::Svg(double width, double height, const std::string& title)
    : mBody(fmt::format(
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} "
              "{1}\" font-family=\"'DejaVu Sans', Verdana, sans-serif\">\n<title>{2}</title>\n",
              width, height, Escape(title))) {
    rect(0, 0, width, height, "#ffffff");
}

void Svg::rect(double x, double y, double width, double height, const std::string& colour, double opacity) {
    std::string fade = opacity < 1 ? fmt::format(" fill-opacity=\"{}\"", opacity) : "";
    mBody += fmt::format(
            "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" fill=\"{}\"{}/>\n", x, y,
            width, height, colour, fade);
}

void Svg::line(double x1, double y1, double x2, double y2, const std::string& colour, double width) {
    mBody += fmt::format("<path d=\"M{:.1f} {:.1f}L{:.1f} {:.1f}\" stroke=\"{}\" stroke-width=\"{}\"/>\n", x1,
                         y1, x2, y2, colour, width);
}

void Svg::polyline(const std::vector<std::pair<double, double>>& points, const std::string& colour,
                   double width) {
    mBody +=
            fmt::format("<polyline fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" points=\"", colour, width);
    for (const auto& [x, y] : points)
        mBody += fmt::format("{:.1f},{:.1f} ", x, y);
    mBody += "\"/>\n";
}

void Svg::text(double x, double y, const std::string& text, const TextStyle& style) {
    mBody += fmt::format(
            "<text x=\"{:.1f}\" y=\"{:.1f}\" font-size=\"{}\" fill=\"{}\" text-anchor=\"{}\"{}>{}</text>\n",
            x, y, style.size, style.colour, style.anchor, style.isBold ? " font-weight=\"bold\"" : "",
            Escape(text));
}

}  // namespace orvel
