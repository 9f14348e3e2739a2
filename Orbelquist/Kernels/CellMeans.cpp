#include "Orbelquist/Kernels/CellMeans.hpp"

#include <algorithm>
#include <numeric>

namespace orbelquist {

void lumaOf(const std::uint8_t* rgba, std::span<std::uint8_t> luma) {
    for (std::size_t x = 0; x < luma.size(); ++x, rgba += 4)
        luma[x] = static_cast<std::uint8_t>((rgba[0] + 2 * rgba[1] + rgba[2]) >> 2);
}

RowSignature cellMeans(std::span<const std::uint8_t> luma) {
    RowSignature means = {};
    const std::size_t width = luma.size();
    for (std::size_t cell = 0; cell < cellCount && width > 0; ++cell) {
        const std::size_t begin = std::min(cell * width / cellCount, width - 1);
        const std::size_t end = std::max(begin + 1, (cell + 1) * width / cellCount);
        const auto sum = std::accumulate(luma.begin() + static_cast<std::ptrdiff_t>(begin),
                                         luma.begin() + static_cast<std::ptrdiff_t>(end), std::size_t{0});
        means[cell] = static_cast<std::uint8_t>((sum + (end - begin) / 2) / (end - begin));
    }
    return means;
}

} // namespace orbelquist
