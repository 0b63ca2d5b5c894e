// A picture from a file as a new layer. Main thread.
#pragma once

#include <filesystem>

class QWidget;

namespace ombrel {

class DocumentController;
class DocumentWindow;
class ImageDocument;

/// Asks for a file; what it shows becomes a layer in the middle of the canvas, in its profile.
void choosePlacedImage(DocumentWindow& on, ImageDocument& document, DocumentController& controller);
void placeImage(ImageDocument& document, DocumentController& controller,
                const std::filesystem::path& path);

} // namespace ombrel
