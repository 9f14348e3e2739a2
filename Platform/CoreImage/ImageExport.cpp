#include "Platform/CoreImage/ImageExport.hpp"

#include "Platform/CoreImage/CIContext.hpp"
#include "Platform/Foundation/Device.hpp"

namespace platform {

std::expected<void, ImageError> writeImage(const CIImage& recipe, const CGRect& extent, ImageFormat format,
                                           const EncodeOptions& options, const Date& captureDate, ByteSink& sink,
                                           const std::function<bool()>& isCancelled) {
    const CIContext context;
    const CIContext::Format drawn = context.format(recipe, extent);
    const ImageHeader header{.width = drawn.width,
                             .height = drawn.height,
                             .opaque = drawn.opaque,
                             .colorSpace = drawn.colorSpace,
                             .captureDate = Calendar::current().components(captureDate),
                             .software = Device::current().softwareMark};
    auto destination = CGImageDestination::make(format, sink, header, options);
    if (!destination)
        return std::unexpected(destination.error());
    using Done = std::expected<void, ImageError>;
    const Done done =
        context.render(recipe, extent, [&](const std::uint8_t* rows, std::size_t stride, std::int64_t count) -> Done {
            if (isCancelled && isCancelled())
                return std::unexpected(ImageError{ImageError::Code::cancelled, {}});
            return (*destination)->write(rows, stride, count);
        });
    return done ? (*destination)->finish() : done;
}

} // namespace platform
