#include "Platform/ImageIO/CGImageSource.hpp"
#include "Velmorant/Alignment/Alignment.hpp"
#include "Velmorant/Model/Group.hpp"

#include <iostream>

int main(int, char** arguments) {
    const velmorant::StitchableItem item("a", {}, {390, 844, 1}, velmorant::StitchableItem::ItemType::unstitched);
    std::cout << velmorant::Alignment({{item, {0, {0, 1}, {0, 1}}}}, {390, 844, 1}).debugDescription() << "\n";
    const auto itself = platform::CGImageSource::open(arguments[0]); // a file, but no image
    return std::hash<velmorant::Group>()(velmorant::Group({item})) != 0 &&
                   itself.error().code == platform::ImageError::Code::notAnImage
               ? 0
               : 1;
}
