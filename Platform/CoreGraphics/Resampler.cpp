#include "Platform/CoreGraphics/Resampler.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

namespace platform {

namespace {

using Lanes [[gnu::vector_size(16)]] = float;

double cubic(double x) {
    x = std::abs(x);
    if (x < 1)
        return (1.5 * x - 2.5) * x * x + 1;
    return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
}

Lanes load(const float* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

void store(Lanes lanes, float* to) {
    std::memcpy(to, &lanes, sizeof lanes);
}

/// A pixel's channels as numbers.
Lanes numbersOf(const std::uint8_t* pixel) {
    using Bytes [[gnu::vector_size(16)]] = std::uint8_t;
    using Halves [[gnu::vector_size(16)]] = std::uint16_t;
    using Words [[gnu::vector_size(16)]] = std::int32_t;
    std::int32_t channels = 0;
    std::memcpy(&channels, pixel, sizeof channels);
    const auto bytes = std::bit_cast<Bytes>(Words{channels});
    constexpr bool isLittle = std::endian::native == std::endian::little;
    const auto halves =
        std::bit_cast<Halves>(__builtin_shufflevector(isLittle ? bytes : Bytes{}, isLittle ? Bytes{} : bytes, 0, 16, 1,
                                                      17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
    const auto words = std::bit_cast<Words>(
        __builtin_shufflevector(isLittle ? halves : Halves{}, isLittle ? Halves{} : halves, 0, 8, 1, 9, 2, 10, 3, 11));
    return __builtin_convertvector(words, Lanes);
}

} // namespace

Resampler::Axis::Axis(std::int64_t length, std::int64_t newLength, std::int64_t wanted) {
    spans.reserve(static_cast<std::size_t>(wanted));
    const double step = static_cast<double>(length) / static_cast<double>(newLength);
    const double stretch = std::max(1.0, step);
    std::vector<double> exact;
    for (std::int64_t i = 0; i < wanted; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) * step - 0.5; // in source pixels, from the first one's
        const auto weightOf = [&](std::int64_t pixel) {
            return cubic((static_cast<double>(pixel) - centre) / stretch);
        };
        auto first = std::max<std::int64_t>(0, static_cast<std::int64_t>(std::ceil(centre - 2 * stretch)));
        auto last = std::min(length - 1, static_cast<std::int64_t>(std::floor(centre + 2 * stretch)));
        while (first < last && weightOf(first) == 0)
            ++first;
        while (last > first && weightOf(last) == 0)
            --last;
        exact.clear();
        double sum = 0;
        for (std::int64_t pixel = first; pixel <= last; ++pixel)
            sum += exact.emplace_back(weightOf(pixel));
        spans.push_back({static_cast<std::size_t>(first), weights.size(), exact.size()});
        for (const double weight : exact) // beyond the image's edge there is nothing to weigh
            weights.push_back(static_cast<float>(weight / sum));
    }
}

Resampler::Resampler(std::int64_t width, std::int64_t height, std::int64_t newWidth, std::int64_t newHeight,
                     std::int64_t rows, RowHandler handler)
    : across_(width, newWidth, newWidth), down_(height, newHeight, rows),
      sourceRows_(static_cast<std::int64_t>(down_.spans.back().first + down_.spans.back().count)),
      handler_(std::move(handler)), slots_(std::ranges::max(down_.spans, {}, &Axis::Span::count).count),
      numbers_(4 * static_cast<std::size_t>(width)), rowSize_(4 * static_cast<std::size_t>(newWidth)),
      scaled_(slots_ * rowSize_), sums_(rowSize_), out_(rowSize_) {}

void Resampler::push(const std::uint8_t* rows, std::size_t stride, std::int64_t count) {
    const auto end = static_cast<std::size_t>(sourceRows_);
    for (; count > 0 && next_ < end; --count, rows += stride) {
        scaleAcross(rows, scaledRow(next_++));
        for (; nextOut_ < down_.spans.size(); ++nextOut_) {
            const Axis::Span& span = down_.spans[nextOut_];
            if (span.first + span.count > next_)
                break;
            scaleDown(span);
            handOn();
        }
    }
}

void Resampler::scaleAcross(const std::uint8_t* row, float* scaled) {
    for (std::size_t i = 0; i < numbers_.size(); i += 4)
        store(numbersOf(row + i), numbers_.data() + i);
    for (const Axis::Span& span : across_.spans) {
        const float* pixel = numbers_.data() + 4 * span.first;
        Lanes sum = {};
        for (const float weight : across_.weightsOf(span)) {
            sum += weight * load(pixel);
            pixel += 4;
        }
        store(sum, scaled);
        scaled += 4;
    }
}

void Resampler::scaleDown(const Axis::Span& span) {
    const auto weights = down_.weightsOf(span);
    std::ranges::fill(sums_, 0.0f);
    for (std::size_t k = 0; k < weights.size(); ++k) {
        const float* row = scaledRow(span.first + k);
        for (std::size_t i = 0; i < rowSize_; i += 4)
            store(load(sums_.data() + i) + weights[k] * load(row + i), sums_.data() + i);
    }
}

/// The cubic may overshoot at edges: no channel leaves its range, and no colour exceeds its alpha.
void Resampler::handOn() {
    for (std::size_t i = 0; i < out_.size(); ++i)
        out_[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(std::clamp(sums_[i] + 0.5f, 0.0f, 255.0f)));
    for (std::size_t i = 0; i < out_.size(); i += 4)
        if (const std::uint8_t alpha = out_[i + 3]; alpha < 255)
            for (std::size_t channel = 0; channel < 3; ++channel)
                out_[i + channel] = std::min(out_[i + channel], alpha);
    handler_(static_cast<std::int64_t>(nextOut_), out_.data());
}

} // namespace platform
