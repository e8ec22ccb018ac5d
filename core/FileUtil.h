#pragma once

#include <QString>

// Where the client's files lie: everything hangs from the documents folder + "/Velkor/".
class FileUtil
{
public:
    // The root, ending in "/"; made if missing.
    static QString getDocumentPath();
    // The root + name; the folder is made if missing.
    static QString createDir(QString name);
    // The root + dir + file; only the folder root + dir is made, not the file.
    static QString createFile(QString dir, QString file);
};
