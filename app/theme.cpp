#include "theme.h"

#include "startup_logic.h"

#include <QApplication>
#include <QMenu>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

namespace qv {

namespace {

// Fusion, without the desktop theme's glyphs on dialog buttons ("OK" with a tick, "Cancel"
// with a red cross): they clash with the dark window and say nothing the words do not.
class WindowStyle : public QProxyStyle {
public:
    WindowStyle()
        : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
    {
    }

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const override
    {
        if (hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
        return QProxyStyle::styleHint(hint, option, widget, data);
    }

    // A menu's unchecked choices carry no box: on the dark panel it reads as a dark
    // square beside the text. The tick alone marks the current choice.
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override
    {
        if (element == PE_IndicatorCheckBox && qobject_cast<const QMenu*>(widget) && !(option->state & State_On)) return;
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
};

} // namespace

WindowTheme windowTheme(const QString& selection)
{
    return themeColors(normalizedTheme(selection));
}

void applyDarkAppearance(QApplication& app, const WindowTheme& theme)
{
    if (!dynamic_cast<WindowStyle*>(app.style())) app.setStyle(new WindowStyle);
    QPalette p;
    p.setColor(QPalette::Window, theme.background);
    p.setColor(QPalette::WindowText, theme.text);
    p.setColor(QPalette::Base, theme.background.darker(115));
    p.setColor(QPalette::AlternateBase, theme.panel);
    p.setColor(QPalette::ToolTipBase, theme.panel.lighter(130));
    p.setColor(QPalette::ToolTipText, theme.text);
    p.setColor(QPalette::PlaceholderText, theme.mutedText);
    p.setColor(QPalette::Text, theme.text);
    p.setColor(QPalette::Button, theme.panel.lighter(125));
    p.setColor(QPalette::ButtonText, theme.text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Highlight, theme.accent);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, theme.accent.lighter(140));
    p.setColor(QPalette::Mid, theme.panel.lighter(150));
    p.setColor(QPalette::Dark, theme.background.darker(140));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, role, theme.mutedText.darker(150));
    }
    app.setPalette(p);
}

} // namespace qv
