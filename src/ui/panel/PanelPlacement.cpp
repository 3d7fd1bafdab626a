#include "PanelPlacement.h"

#include <algorithm>
#include <array>

namespace quillon::ui {

namespace {

enum class Edge {
    top,
    bottom,
    left,
    right
};

// The screen edge nearest to point.
Edge nearestEdge(const QPoint& point, const QRect& screen)
{
    const std::array<std::pair<int, Edge>, 4> distances{{
        {point.y() - screen.top(), Edge::top},
        {screen.bottom() - point.y(), Edge::bottom},
        {point.x() - screen.left(), Edge::left},
        {screen.right() - point.x(), Edge::right},
    }};
    return std::min_element(distances.begin(), distances.end(), [](const auto& a, const auto& b) {
        return a.first < b.first;
    })->second;
}

// The edge whose desktop panel holds the icon: the one whose strip, outside
// the available area, the icon lies in; else (no panel reserves space) the
// screen edge nearest to it.
Edge edgeOf(const QRect& icon, const PanelPlacement::Screen& screen)
{
    const QRect& free = screen.available;
    if (icon.bottom() < free.top())
        return Edge::top;
    if (icon.top() > free.bottom())
        return Edge::bottom;
    if (icon.right() < free.left())
        return Edge::left;
    if (icon.left() > free.right())
        return Edge::right;
    return nearestEdge(icon.center(), screen.geometry);
}

// start, moved as little as needed to keep [start, start + length) inside
// [low, high); a panel longer than the range starts at low.
int clampInto(int start, int length, int low, int high)
{
    return std::max(low, std::min(start, high - length));
}

} // namespace

QPoint PanelPlacement::place(const QSize& panel, const QRect& icon, const QPoint& pointer, const Screen& screen)
{
    const QRect area = screen.available.adjusted(kGap, kGap, -kGap, -kGap);
    const bool anchored = icon.isValid() && !icon.isEmpty();
    const QPoint centre = anchored ? icon.center() : pointer;
    const int width = panel.width();
    const int height = panel.height();

    // Centred on the icon (or the pointer) along the edge; across it, just
    // past the icon, or without one flush against the edge itself.
    QPoint corner(centre.x() - width / 2, centre.y() - height / 2);
    switch (anchored ? edgeOf(icon, screen) : nearestEdge(pointer, screen.geometry)) {
    case Edge::top:
        corner.setY(anchored ? icon.bottom() + 1 + kGap : area.top());
        break;
    case Edge::bottom:
        corner.setY((anchored ? icon.top() - kGap : area.bottom() + 1) - height);
        break;
    case Edge::left:
        corner.setX(anchored ? icon.right() + 1 + kGap : area.left());
        break;
    case Edge::right:
        corner.setX((anchored ? icon.left() - kGap : area.right() + 1) - width);
        break;
    }
    corner.setX(clampInto(corner.x(), width, area.left(), area.right() + 1));
    corner.setY(clampInto(corner.y(), height, area.top(), area.bottom() + 1));
    return corner;
}

} // namespace quillon::ui
