#pragma once

#include <QString>
#include <QStringList>

namespace quillon::app {

class HelperLayout;

// The shell text the installer and the uninstaller run as root, shared.
class RootScript {
public:
    RootScript() = delete;

    // One shell word for any path: in apostrophes, each apostrophe inside
    // written as '"'"', so apostrophes, quotes, backslashes, spaces and line
    // feeds all reach the command unchanged.
    static QString quote(const QString& path);
    // Lines joined by line feeds, no line feed after the last.
    static QString join(const QStringList& lines);

    // One service-manager command for the helper's unit ("enable", "stop"...),
    // whose failure never stops the script.
    static QString unitCommand(const HelperLayout& layout, const QString& verb);
    // The service manager re-reads its units and the bus its policies and
    // activation files; neither failing stops the script.
    static QStringList reload(const HelperLayout& layout);
    // Stops the running helper, which hands the fans back on the way out:
    // through the service manager, then, for a helper the bus started
    // without it, by the process id the bus knows for the helper's name.
    static QStringList stopHelper(const HelperLayout& layout);
    // A call to the bus daemon itself on the system bus.
    static QString busCall(const QString& method, const QString& argument = {});
};

} // namespace quillon::app
