// The program's drawings, by the names that the controls use.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <string>

namespace tessarin {

// The drawing resources/icons/NAME.svg in a square of `size` logical pixels, sharp at this device
// pixel ratio. What the drawing leaves to the surroundings ("currentColor") gets the colour. Empty
// when there is no such drawing. Made once, then remembered.
QPixmap drawing(const std::string& name, int size, const QColor& colour, double pixelRatio);

// The drawing as an icon for a button in the application's text colour, and its disabled form.
QIcon drawnIcon(const std::string& name);

// What a drawing shows, in the user's language: for tool tips and for those who hear the window.
// "" when it has no meaning of its own.
std::string imageText(const std::string& name);

}  // namespace tessarin
