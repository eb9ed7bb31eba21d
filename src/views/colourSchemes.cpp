#include "views/colourSchemes.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QProxyStyle>
#include <QStyleOption>
#include <algorithm>
#include <cmath>
#include <utility>

#include "views/settingWidgets.h"

namespace tessarin {

namespace {

constexpr double leastContrast = 4.5;
constexpr int buttonMargin = 12;

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

double brightness(const QColor& colour) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
         0.0722 * linear(colour.blueF());
}

// The text's colour, brought as near to the ground's as can still be read.
QColor faded(const QColor& text, const QColor& ground) {
  QColor mixed = text;
  for (const double share : {0.9, 0.85, 0.8, 0.75, 0.7, 0.65, 0.6}) {
    const auto part = [share](double one, double other) {
      return static_cast<float>(share * one + (1 - share) * other);
    };
    const QColor next =
        QColor::fromRgbF(part(text.redF(), ground.redF()), part(text.greenF(), ground.greenF()),
                         part(text.blueF(), ground.blueF()));
    if (contrastOf(next, ground) < leastContrast)
      break;
    mixed = next;
  }
  return mixed;
}

// What cannot be chosen is told from what can, and can still be read: 4.5 to 1 at the least.
QPalette readable(QPalette palette) {
  for (const auto& [text, ground] : {std::pair{QPalette::WindowText, QPalette::Window},
                                     std::pair{QPalette::Text, QPalette::Base},
                                     std::pair{QPalette::ButtonText, QPalette::Button}})
    palette.setColor(
        QPalette::Disabled, text,
        faded(palette.color(QPalette::Active, text), palette.color(QPalette::Active, ground)));
  palette.setColor(QPalette::PlaceholderText, palette.color(QPalette::Disabled, QPalette::Text));
  const QColor onHighlight = palette.color(QPalette::Active, QPalette::HighlightedText);
  QColor highlight = palette.color(QPalette::Active, QPalette::Highlight);
  const bool isLight = onHighlight.lightness() > highlight.lightness();
  for (int step = 0; step < 20 && contrastOf(highlight, onHighlight) < leastContrast; ++step)
    highlight = isLight ? highlight.darker(105) : highlight.lighter(105);
  palette.setColor(QPalette::Active, QPalette::Highlight, highlight);
  palette.setColor(QPalette::Inactive, QPalette::Highlight, highlight);
  palette.setColor(QPalette::Inactive, QPalette::HighlightedText, onHighlight);
  return palette;
}

// The style's own, with room around texts, targets that can be hit, and what is switched off or not
// chosen yet to be seen on dark grounds, too.
class ReadableStyle final : public QProxyStyle {
 public:
  using QProxyStyle::QProxyStyle;

  QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                         const QWidget* widget) const override {
    QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    if (type == CT_PushButton)
      size = size.expandedTo(QSize(contents.width() + 2 * buttonMargin, leastTarget));
    if (type == CT_ToolButton || (type == CT_MenuBarItem && !size.isEmpty()))
      size = size.expandedTo(QSize(leastTarget, leastTarget));
    if (type == CT_ComboBox || type == CT_LineEdit || type == CT_HeaderSection ||
        type == CT_ItemViewItem)
      size = size.expandedTo(QSize(0, leastTarget));
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (type == CT_Slider && slider)
      size = size.expandedTo(slider->orientation == Qt::Horizontal ? QSize(0, leastTarget)
                                                                   : QSize(leastTarget, 0));
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (type == CT_MenuItem && item && item->menuItemType != QStyleOptionMenuItem::Separator)
      size = size.expandedTo(QSize(0, leastTarget));
    return size;
  }

  // A check box is hit above and below its text, too.
  QRect subElementRect(SubElement element, const QStyleOption* option,
                       const QWidget* widget) const override {
    QRect place = QProxyStyle::subElementRect(element, option, widget);
    if (element == SE_CheckBoxClickRect) {
      place.setTop(option->rect.top());
      place.setBottom(option->rect.bottom());
    }
    return place;
  }

  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override {
    const int size = QProxyStyle::pixelMetric(metric, option, widget);
    return metric == PM_ScrollBarExtent || metric == PM_ScrollBarSliderMin
               ? std::max(size, leastTarget)
               : size;
  }

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* returned) const override {
    // A press leads to the moment under it, anywhere in the slider's height.
    if (hint == SH_Slider_AbsoluteSetButtons)
      return Qt::LeftButton;
    // Our own buttons have no pictures; those of Qt's dialogs stand beside them.
    return hint == SH_EtchDisabledText || hint == SH_DialogButtonBox_ButtonsHaveIcons
               ? 0
               : QProxyStyle::styleHint(hint, option, widget, returned);
  }

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    if (element != PE_IndicatorCheckBox)
      return;
    painter->setPen(option->palette.color(QPalette::Disabled, QPalette::WindowText));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
  }
};

void apply(int scheme) {
  // Other styles draw parts in colours of their own whatever the palette says.
  static const QString desktopStyle = QApplication::style()->objectName();
  const bool isDesktop = scheme != darkScheme && scheme != hudScheme;
  QApplication::setPalette(isDesktop ? QPalette() : paletteOf(scheme == hudScheme ? hud : dark));
  QApplication::setPalette(readable(QApplication::palette()));
  // After the colours: style sheets look them up when the style is set.
  QApplication::setStyle(new ReadableStyle(isDesktop ? desktopStyle : QStringLiteral("fusion")));
  // The application owns it.
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

}  // namespace

double contrastOf(const QColor& one, const QColor& other) {
  const auto [darker, brighter] = std::minmax({brightness(one), brightness(other)});
  return (brighter + 0.05) / (darker + 0.05);
}

void followColourScheme(SegmentedControl& colour) {
  const auto show = [&colour] { apply(colour.selected()); };
  colour.changed.connect(show);
  show();
}

}  // namespace tessarin
