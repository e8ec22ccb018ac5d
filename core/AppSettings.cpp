#include "AppSettings.h"

#include "FileUtil.h"

namespace AppSettings {

std::unique_ptr<QSettings> userConfig()
{
    return std::make_unique<QSettings>(FileUtil::getDocumentPath() + "UserConfig.ini", QSettings::IniFormat);
}

std::unique_ptr<QSettings> userSetting()
{
    return std::make_unique<QSettings>(FileUtil::getDocumentPath() + "UserSetting.ini", QSettings::IniFormat);
}

} // namespace AppSettings
