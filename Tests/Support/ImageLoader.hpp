#pragma once

#include "Tests/Support/TestImages.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

namespace velmorant {

/// Has images by the ids of their items, and hands them over within the call. What it does not have cannot be loaded.
struct ImageLoader final : Loader {
    void loadImage(const StitchableItem& item, bool synchronous, const Completion& completion) override {
        EXPECT_TRUE(synchronous);
        loaded.insert(item.id);
        completion(images.contains(item.id) ? std::optional(images.at(item.id)) : std::nullopt);
    }
    std::map<std::string, platform::UIImage> images;
    std::set<std::string> loaded; ///< the ids that were asked for
};

} // namespace velmorant
