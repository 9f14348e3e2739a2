#include "Platform/CoreGraphics/Resampler.hpp"

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

// Weights are in 16384ths. Rows scaled across hold 256ths of a level: the sum over the weights of 8 bits has 22, six of
// which are cut off; the sum over the weights of these 16 has 30, 22 of which are rounded away.
constexpr std::uint32_t unit = 1 << 14;
constexpr int acrossShift = 6;
constexpr int downShift = 22;

} // namespace

Resampler::Axis::Axis(std::int64_t length, std::int64_t newLength) {
    spans.reserve(static_cast<std::size_t>(newLength));
    const double step = static_cast<double>(length) / static_cast<double>(newLength);
    for (std::int64_t i = 0; i < newLength; ++i) {
        const double place = static_cast<double>(i);
        if (newLength > length) { // between the two pixels whose centres lie around this one's
            const double centre = std::clamp((place + 0.5) * step - 0.5, 0.0, static_cast<double>(length - 1));
            const auto first = static_cast<std::int64_t>(centre);
            const auto second = static_cast<std::uint32_t>(std::lround((centre - static_cast<double>(first)) * unit));
            const std::size_t count = second > 0 ? 2 : 1;
            spans.push_back({first, weights.size(), count});
            weights.push_back(unit - second);
            if (count == 2)
                weights.push_back(second);
            continue;
        }
        const double from = place * step, to = std::min((place + 1) * step, static_cast<double>(length));
        const auto first = std::min(static_cast<std::int64_t>(from), length - 1);
        const auto end = std::max(first + 1, std::min(static_cast<std::int64_t>(std::ceil(to)), length));
        spans.push_back({first, weights.size(), static_cast<std::size_t>(end - first)});
        std::uint32_t given = 0; // rounding what is covered so far keeps the sum exact
        for (std::int64_t source = first; source < end; ++source) {
            const double covered = source + 1 == end ? 1.0 : (static_cast<double>(source + 1) - from) / (to - from);
            const auto sum = static_cast<std::uint32_t>(std::lround(covered * unit));
            weights.push_back(sum - given);
            given = sum;
        }
    }
}

Resampler::Resampler(std::int64_t width, std::int64_t height, std::int64_t newWidth, std::int64_t newHeight,
                     RowHandler handler)
    : width_(width), newWidth_(newWidth), across_(width, newWidth), down_(height, newHeight),
      handler_(std::move(handler)), slots_(std::ranges::max(down_.spans, {}, &Axis::Span::count).count),
      scaled_(slots_ * 4 * static_cast<std::size_t>(newWidth)), sums_(4 * static_cast<std::size_t>(newWidth)),
      out_(sums_.size()) {}

void Resampler::push(const std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i, ++next_) {
        const auto slot = static_cast<std::size_t>(next_) % slots_;
        scaleAcross(rows + static_cast<std::size_t>(i) * stride, scaled_.data() + slot * out_.size());
        for (; nextOut_ < std::ssize(down_.spans); ++nextOut_) {
            const Axis::Span& span = down_.spans[static_cast<std::size_t>(nextOut_)];
            if (span.first + static_cast<std::int64_t>(span.count) > next_ + 1)
                break;
            finishRow(span);
            handler_(nextOut_, out_.data());
        }
    }
}

void Resampler::scaleAcross(const std::uint8_t* row, std::uint16_t* scaled) const {
    if (newWidth_ == width_) {
        for (std::size_t i = 0; i < out_.size(); ++i)
            scaled[i] = static_cast<std::uint16_t>(row[i] << 8);
        return;
    }
    for (const Axis::Span& span : across_.spans) {
        std::uint32_t sums[4] = {};
        const std::uint8_t* pixel = row + 4 * span.first;
        for (std::size_t k = 0; k < span.count; ++k, pixel += 4)
            for (int channel = 0; channel < 4; ++channel)
                sums[channel] += across_.weights[span.weight + k] * pixel[channel];
        for (const std::uint32_t sum : sums)
            *scaled++ = static_cast<std::uint16_t>(sum >> acrossShift);
    }
}

void Resampler::finishRow(const Axis::Span& span) {
    std::ranges::fill(sums_, std::uint32_t{1} << (downShift - 1));
    for (std::size_t k = 0; k < span.count; ++k) {
        const auto slot = (static_cast<std::size_t>(span.first) + k) % slots_;
        const std::uint16_t* scaled = scaled_.data() + slot * out_.size();
        const std::uint32_t weight = down_.weights[span.weight + k];
        for (std::size_t i = 0; i < sums_.size(); ++i)
            sums_[i] += weight * scaled[i];
    }
    for (std::size_t i = 0; i < sums_.size(); ++i)
        out_[i] = static_cast<std::uint8_t>(sums_[i] >> downShift);
}

} // namespace platform
