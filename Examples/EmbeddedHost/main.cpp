// A small application on the library: shows the runs of screenshots in a folder as they are found, and writes a picture
// of each. embedded-host FOLDER OUTPUT-FOLDER
#include "Orbelquist/AlignerVersion.hpp"
#include "Platform/CoreImage/ImageExport.hpp"
#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Velmorant/Alignment/AlignerDiskCache.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"
#include "Velmorant/Store/StitchingStore.hpp"

#include "FolderSource.hpp"

#include <iostream>

namespace {

/// The library's messages, from warnings on; the others are never put together.
class ConsoleLog final : public velmorant::LogStore {
public:
    void store(const Message& message, velmorant::LogStoreType type) override {
        if (type >= velmorant::LogStoreType::error)
            std::clog << message() + "\n";
    }
};

/// What the application does with the store. All of it runs on the main queue.
class Application final : public velmorant::StitchingStoreDelegate, public std::enable_shared_from_this<Application> {
public:
    Application(std::shared_ptr<velmorant::StitchingStore> store, std::shared_ptr<velmorant::Loader> loader,
                std::filesystem::path output)
        : store_(std::move(store)), renderer_(std::move(loader)), output_(std::move(output)) {}

    /// Asks for the alignment of every group; the store calls back when it is there.
    void didUpdateGroups(const std::optional<velmorant::Change>&) override {
        left_ = store_->groups().size();
        std::cout << left_ << (left_ == 1 ? " run\n" : " runs\n");
        for (const velmorant::Group& group : store_->groups())
            store_->requestAnalysis(group, [self = shared_from_this(), group] { self->analysed(group); });
        if (left_ == 0)
            platform::MainLoop::stop();
    }

    bool failed() const { return failed_; }

private:
    void analysed(const velmorant::Group& group) {
        const auto alignment = store_->result(group);
        if (alignment && *alignment)
            write(**alignment);
        else
            fail("no two neighbours show the same rows");
        if (--left_ == 0)
            platform::MainLoop::stop();
    }

    /// Draws straight into the file, band by band. An application with windows asks the store for an image instead:
    /// `requestRender(alignment, size, completion)`.
    void write(const velmorant::Alignment& alignment) {
        const auto name = "run-" + std::to_string(left_) + ".png";
        auto file = platform::AtomicFile::create(output_ / name, platform::AtomicFile::Existing::replace);
        if (!file)
            return fail(file.error().message());
        const auto recipe = *renderer_.render(alignment, false).ciImage();
        const platform::Date taken = alignment.positions().front().first.date;
        if (const auto drawn = writeImage(recipe, recipe.extent(), platform::ImageFormat::png, {}, taken, *file);
            !drawn)
            return fail(drawn.error().detail);
        if (const auto there = file->commit(); !there)
            return fail(there.error().message());
        std::cout << name << ": " << alignment.positions().size() << " screenshots, " << alignment.size().width << " x "
                  << alignment.size().height << "\n";
    }

    void fail(const std::string& reason) {
        failed_ = true;
        std::cerr << reason << "\n";
    }

    const std::shared_ptr<velmorant::StitchingStore> store_;
    const velmorant::CoreImageRenderer renderer_;
    const std::filesystem::path output_;
    std::size_t left_ = 0; ///< groups that are not written yet
    bool failed_ = false;
};

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "embedded-host FOLDER OUTPUT-FOLDER\n";
        return 2;
    }
    // First the device: where caches lie, in which time zone dates are read.
    const platform::Device device({.folders = platform::DeviceFolders::ofUser("embedded-host"),
                                   .hostIdentifier = "org.example.embedded-host",
                                   .softwareMark = "embedded-host"});
    const auto source = std::make_shared<FolderSource>(arguments[1]);
    const auto log = std::make_shared<ConsoleLog>();

    velmorant::Pipeline pipeline(source, log);
    pipeline.add(velmorant::Grouper(20, log));
    pipeline.add(velmorant::IgnoreEmptyOrSingleStep());
    pipeline.add(velmorant::SortGroupsStep());

    const auto cache = velmorant::AlignerDiskCache::make(orbelquist::alignerVersion);
    const auto store =
        velmorant::StitchingStore::make(pipeline, std::make_shared<velmorant::OpenCVAligner>(source, cache, log),
                                        std::make_shared<velmorant::CoreImageRenderer>(source));
    const auto application = std::make_shared<Application>(store, source, arguments[2]);
    store->setDelegate(application); // in time: what the source announced waits for the main queue

    platform::MainLoop::run();
    cache->waitUntilSaved();
    return application->failed() ? 1 : 0;
}
