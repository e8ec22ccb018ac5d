#pragma once

#include <QMap>
#include <QString>

// Reads and rewrites the device's configuration file "SvrAdvParam.cfg" (UTF-16LE). One
// process-wide map of section -> key -> value holds what was read; nothing clears it between
// files, so a section that a later file does not name stays. Main thread only.
class IniUtil
{
public:
    // Takes the file's sections into the map; each section named is emptied first. An
    // unreadable file leaves the map as it was.
    static void openIni(QString path);
    // Sets a value, making the section when it is missing.
    static void setValue(QString section, QString key, QString value);
    static QString getValue(QString section, QString key);
    // The map as text: sections and keys from the last in sort order to the first, each
    // section after an empty line, lines ending in a line feed alone. When path is not empty
    // the text is also written there (UTF-16LE, no byte-order mark). Returns the text.
    static QString writeIni(QString path);

    // Empties the map, for a reader that must see one file only.
    static void clear();
    // Reads text in the file's grammar into the map (what openIni does with the file's text).
    static void parse(const QString& text);

private:
    static QMap<QString, QMap<QString, QString>> saveObject;
};
