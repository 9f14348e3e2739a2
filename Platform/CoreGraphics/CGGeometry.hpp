#pragma once

#include <algorithm>

namespace platform {

/// Points, sizes and rectangles in floating point. Their unit and the direction of y are those of whoever uses them:
/// y grows downwards for bitmaps and upwards for Core Image.
using CGFloat = double;

struct CGPoint {
    CGFloat x = 0;
    CGFloat y = 0;
    friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
    CGFloat width = 0;
    CGFloat height = 0;
    friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
    CGPoint origin;
    CGSize size;

    CGFloat minX() const { return origin.x; }
    CGFloat minY() const { return origin.y; }
    CGFloat maxX() const { return origin.x + size.width; }
    CGFloat maxY() const { return origin.y + size.height; }
    CGFloat midX() const { return origin.x + size.width / 2; }
    CGFloat midY() const { return origin.y + size.height / 2; }
    bool isEmpty() const { return size.width <= 0 || size.height <= 0; }

    /// True where the two share more than an edge. An empty rectangle intersects nothing.
    bool intersects(const CGRect& other) const {
        return !isEmpty() && !other.isEmpty() && minX() < other.maxX() && other.minX() < maxX() &&
               minY() < other.maxY() && other.minY() < maxY();
    }

    /// The smallest rectangle that holds both; an empty one counts for nothing.
    CGRect unionWith(const CGRect& other) const {
        if (isEmpty())
            return other;
        if (other.isEmpty())
            return *this;
        const CGPoint low{std::min(minX(), other.minX()), std::min(minY(), other.minY())};
        const CGPoint high{std::max(maxX(), other.maxX()), std::max(maxY(), other.maxY())};
        return {low, {high.x - low.x, high.y - low.y}};
    }

    CGRect offsetBy(CGFloat x, CGFloat y) const { return {{origin.x + x, origin.y + y}, size}; }

    friend bool operator==(const CGRect&, const CGRect&) = default;
};

} // namespace platform
