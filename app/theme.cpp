#include "theme.h"

#include "startup_logic.h"
#include "theme_colors.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace qv {

WindowTheme windowTheme(const QString& selection)
{
    const QString name = normalizedTheme(selection);
    WindowTheme theme;
    theme.name = name;
    theme.accent = themeColors(name).accent;
    if (name == QLatin1String("Classic")) {
        theme.background = QColor(0x1c, 0x1e, 0x22);
        theme.panel = QColor(0x24, 0x27, 0x2d);
    } else if (name == QLatin1String("Green")) {
        theme.background = QColor(0x15, 0x1d, 0x19);
        theme.panel = QColor(0x1c, 0x27, 0x21);
    } else {
        theme.background = QColor(0x1a, 0x17, 0x24);
        theme.panel = QColor(0x23, 0x1f, 0x30);
    }
    theme.mutedText = QColor(0xa7, 0xa3, 0xb4);
    return theme;
}

void applyDarkAppearance(QApplication& app, const WindowTheme& theme)
{
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette p;
    const QColor text(0xec, 0xea, 0xf2);
    p.setColor(QPalette::Window, theme.background);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, theme.background.darker(115));
    p.setColor(QPalette::AlternateBase, theme.panel);
    p.setColor(QPalette::ToolTipBase, theme.panel.lighter(130));
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, theme.mutedText);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, theme.panel.lighter(125));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Highlight, theme.accent);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, theme.accent.lighter(140));
    p.setColor(QPalette::Mid, theme.panel.lighter(150));
    p.setColor(QPalette::Dark, theme.background.darker(140));
    for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        p.setColor(QPalette::Disabled, role, QColor(0x6e, 0x6a, 0x7a));
    }
    app.setPalette(p);
}

} // namespace qv
