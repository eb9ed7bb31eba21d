#include "views/colourSchemes.h"

#include <QApplication>
#include <QPalette>
#include <QPixmapCache>
#include <QStyle>

namespace tessarin {

namespace {

enum Scheme { desktopScheme, darkScheme, hudScheme };

struct Colours {
  QColor window, base, alternate, button, text, faint, line, highlight, onHighlight;
};

// Fields and lists are lighter than the window: the style's outlines are too dark to be seen.
const Colours dark{{36, 38, 41},    {54, 57, 61},   {60, 63, 68},   {66, 69, 74},   {226, 228, 232},
                   {132, 135, 141}, {98, 101, 107}, {53, 116, 240}, {255, 255, 255}};
const Colours hud{{10, 10, 11},    {36, 38, 40},    {43, 45, 48},    {48, 50, 53}, {242, 242, 242},
                  {128, 132, 136}, {104, 108, 112}, {214, 219, 224}, {12, 12, 12}};

QPalette paletteOf(const Colours& colours) {
  QPalette palette;
  palette.setColor(QPalette::Window, colours.window);
  palette.setColor(QPalette::Base, colours.base);
  palette.setColor(QPalette::AlternateBase, colours.alternate);
  palette.setColor(QPalette::Button, colours.button);
  palette.setColor(QPalette::ToolTipBase, colours.button);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                          QPalette::ToolTipText, QPalette::BrightText}) {
    palette.setColor(role, colours.text);
    palette.setColor(QPalette::Disabled, role, colours.faint);
  }
  palette.setColor(QPalette::PlaceholderText, colours.faint);
  palette.setColor(QPalette::Mid, colours.line);
  palette.setColor(QPalette::Dark, colours.base);
  palette.setColor(QPalette::Light, colours.line);
  palette.setColor(QPalette::Midlight, colours.button);
  palette.setColor(QPalette::Shadow, Qt::black);
  palette.setColor(QPalette::Highlight, colours.highlight);
  palette.setColor(QPalette::HighlightedText, colours.onHighlight);
  palette.setColor(QPalette::Disabled, QPalette::Highlight, colours.line);
  palette.setColor(QPalette::Link, colours.highlight.lighter(130));
  return palette;
}

void apply(int scheme) {
  // Other styles draw parts in colours of their own whatever the palette says.
  static const QString desktopStyle = QApplication::style()->objectName();
  const bool isDesktop = scheme != darkScheme && scheme != hudScheme;
  QApplication::setPalette(isDesktop ? QPalette() : paletteOf(scheme == hudScheme ? hud : dark));
  // After the colours: style sheets look them up when the style is set.
  QApplication::setStyle(isDesktop ? desktopStyle : QStringLiteral("fusion"));
}

}  // namespace

void followColourScheme(SegmentedControl& colour) {
  const auto show = [&colour] { apply(colour.selected()); };
  colour.changed.connect(show);
  show();
}

}  // namespace tessarin
