#include "DatabaseManager.h"

#include "ConnectionPool.h"
#include "FaxStatus.h"
#include "LogUtil.h"
#include "MGlobal.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

namespace {

// The options an upload sends, read back with every fax that may be uploaded again.
#define SEND_OPTION_COLUMNS                                                                                           \
    "f.quality , f.retryTime , f.planTime , f.stopTime , f.timeFrom , f.timeTo , f.disableHeader , "                   \
    "f.disableDialPrefix"

const char* const kContactColumns =
    "SELECT c.id ,  c.firstName , c.lastName , c.represented ,  c.company ,  c.department , c.job , c.businessFax , "
    "c.houseFax , c.otherFax  , c.businessNumber , c.houseNumber , c.mobile , c.code , c.address , c.email , "
    "c.remark , c.contact_type_id FROM CONTACTS as c";

// A null QString binds as SQL NULL, which the NOT NULL columns refuse and no '=' matches;
// the store holds empty text instead.
QVariant text(const QString& value)
{
    return value.isNull() ? QVariant(QString("")) : QVariant(value);
}

void logFailure(const QSqlQuery& query)
{
    LogUtil::d(query.lastQuery() + QStringLiteral(" failed: ") + query.lastError().text());
}

// Prepares sql on this thread's connection, binds the values in order and runs it.
bool run(QSqlQuery& query, const QString& sql, const QVariantList& values = {})
{
    if (!query.prepare(sql)) {
        logFailure(query);
        return false;
    }
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec()) {
        logFailure(query);
        return false;
    }
    return true;
}

bool run(const QString& sql, const QVariantList& values)
{
    QSqlQuery query(ConnectionPool::openConnection());
    return run(query, sql, values);
}

// One transaction, one prepared statement, one exec for each row (bind gives the row its
// values), one commit. A failed row does not stop the others; what went in is committed.
template <typename T, typename Bind>
bool runEach(const QString& sql, const QList<T>& rows, Bind bind)
{
    QSqlDatabase db = ConnectionPool::openConnection();
    db.transaction();
    QSqlQuery query(db);
    if (!query.prepare(sql))
        logFailure(query);
    for (const T& row : rows) {
        bind(query, row);
        if (!query.exec())
            logFailure(query);
    }
    query.finish();
    return db.commit();
}

bool has(const QSqlQuery& query, const char* column)
{
    return query.record().indexOf(QLatin1String(column)) >= 0;
}

QString str(const QSqlQuery& query, const char* column)
{
    return query.value(QLatin1String(column)).toString();
}

int num(const QSqlQuery& query, const char* column)
{
    return query.value(QLatin1String(column)).toInt();
}

User readUser(const QSqlQuery& query)
{
    User user;
    user.id = num(query, "id");
    user.nickname = str(query, "nickname");
    user.email = str(query, "email");
    user.phone = str(query, "phone");
    return user;
}

// The device columns every device query selects; extNumber and permission only where present.
Device readDevice(const QSqlQuery& query)
{
    Device device;
    device.id = num(query, "id");
    device.deviceName = str(query, "deviceName");
    device.devicePassword = str(query, "devicePassword");
    device.serverName = str(query, "serverName");
    device.localIP = str(query, "localIP");
    device.remoteIP = str(query, "remoteIP");
    device.productID = str(query, "productID");
    device.taskID = str(query, "taskID");
    if (has(query, "extNumber"))
        device.extNumber = str(query, "extNumber");
    if (has(query, "permission"))
        device.permission = num(query, "permission");
    if (has(query, "internetPort") && !query.value(QStringLiteral("internetPort")).isNull())
        device.internetPort = num(query, "internetPort");
    return device;
}

// Each fax query selects its own set of columns; a member is filled only from a selected one.
// The positions are looked up once a query, not by name on every row: a folder of a hundred
// thousand faxes would otherwise spend most of its time comparing column names.
struct FaxColumns {
    explicit FaxColumns(const QSqlRecord& record)
    {
        const auto at = [&record](const char* column) { return record.indexOf(QLatin1String(column)); };
        id = at("id");
        status = at("status");
        taskID = at("taskID");
        pageSended = at("pageSended");
        pageTotal = at("pageTotal");
        sender = at("sender");
        receiver = at("receiver");
        time = at("time");
        serverID = at("serverID");
        cid = at("cid");
        file = at("file");
        filepath = at("filepath");
        remark = at("remark");
        issue = at("issue");
        priority = at("priority");
        dialTotal = at("dialTotal");
        dialAlready = at("dialAlready");
        tag = at("tag");
        d_id = at("d_id");
        deviceName = at("deviceName");
        devicePassword = at("devicePassword");
        serverName = at("serverName");
        localIP = at("localIP");
        remoteIP = at("remoteIP");
        productID = at("productID");
        maxTaskID = at("maxTaskID");
        internetPort = at("internetPort");
        represented = at("represented");
        quality = at("quality");
        retryTime = at("retryTime");
        planTime = at("planTime");
        stopTime = at("stopTime");
        timeFrom = at("timeFrom");
        timeTo = at("timeTo");
        disableHeader = at("disableHeader");
        disableDialPrefix = at("disableDialPrefix");
    }
    int id, status, taskID, pageSended, pageTotal, sender, receiver, time, serverID, cid, file, filepath, remark,
        issue, priority, dialTotal, dialAlready, tag, d_id, deviceName, devicePassword, serverName, localIP,
        remoteIP, productID, maxTaskID, internetPort, represented, quality, retryTime, planTime, stopTime, timeFrom, timeTo,
        disableHeader, disableDialPrefix;
};

// The send options are kept as local clock text, the form of FAXES.time; unset is empty text.
const QString OPTION_DATE_TIME = QStringLiteral("yyyy-MM-dd hh:mm:ss");
const QString OPTION_TIME = QStringLiteral("hh:mm");

QVariant optionText(const QDateTime& value)
{
    return text(value.isValid() ? value.toLocalTime().toString(OPTION_DATE_TIME) : QString());
}

QVariant optionText(const QTime& value)
{
    return text(value.isValid() ? value.toString(OPTION_TIME) : QString());
}

Fax readFax(const QSqlQuery& query, const FaxColumns& at)
{
    Fax fax;
    const auto setText = [&query](int column, QString& member) {
        if (column >= 0)
            member = query.value(column).toString();
    };
    const auto setNumber = [&query](int column, int& member) {
        if (column >= 0)
            member = query.value(column).toInt();
    };
    setNumber(at.id, fax.id);
    setNumber(at.status, fax.status);
    setNumber(at.taskID, fax.taskID);
    setNumber(at.pageSended, fax.pageSended);
    setNumber(at.pageTotal, fax.pageTotal);
    setText(at.sender, fax.sender);
    setText(at.receiver, fax.receiver);
    setText(at.time, fax.time);
    setText(at.serverID, fax.serverID);
    setText(at.cid, fax.cid);
    setText(at.file, fax.file);
    setText(at.filepath, fax.filepath);
    setText(at.remark, fax.remark);
    setText(at.issue, fax.issue);
    setNumber(at.priority, fax.priority);
    setNumber(at.dialTotal, fax.dialTotal);
    setNumber(at.dialAlready, fax.dialAlready);
    setNumber(at.tag, fax.tag);
    setNumber(at.d_id, fax.d_id);
    setText(at.deviceName, fax.deviceName);
    setText(at.devicePassword, fax.devicePassword);
    setText(at.serverName, fax.serverName);
    setText(at.localIP, fax.localIP);
    setText(at.remoteIP, fax.remoteIP);
    setText(at.productID, fax.productID);
    setText(at.maxTaskID, fax.maxTaskID);
    setNumber(at.internetPort, fax.internetPort);
    setNumber(at.quality, fax.quality);
    setNumber(at.retryTime, fax.retryTime);
    if (at.planTime >= 0)
        fax.dateTimePlan = QDateTime::fromString(query.value(at.planTime).toString(), OPTION_DATE_TIME);
    if (at.stopTime >= 0)
        fax.dateTimeStop = QDateTime::fromString(query.value(at.stopTime).toString(), OPTION_DATE_TIME);
    if (at.timeFrom >= 0)
        fax.timeFrom = QTime::fromString(query.value(at.timeFrom).toString(), OPTION_TIME);
    if (at.timeTo >= 0)
        fax.timeTo = QTime::fromString(query.value(at.timeTo).toString(), OPTION_TIME);
    if (at.disableHeader >= 0)
        fax.disableHeader = query.value(at.disableHeader).toBool();
    if (at.disableDialPrefix >= 0)
        fax.disabeDialPrefix = query.value(at.disableDialPrefix).toBool();
    return fax;
}

Contact readContact(const QSqlQuery& query)
{
    Contact contact;
    contact.id = num(query, "id");
    contact.firstName = str(query, "firstName");
    contact.lastName = str(query, "lastName");
    contact.represented = str(query, "represented");
    contact.company = str(query, "company");
    contact.department = str(query, "department");
    contact.job = str(query, "job");
    contact.businessFax = str(query, "businessFax");
    contact.houseFax = str(query, "houseFax");
    contact.otherFax = str(query, "otherFax");
    contact.businessNumber = str(query, "businessNumber");
    contact.houseNumber = str(query, "houseNumber");
    contact.mobile = str(query, "mobile");
    contact.code = str(query, "code");
    contact.address = str(query, "address");
    contact.email = str(query, "email");
    contact.remark = str(query, "remark");
    contact.contact_type_id = num(query, "contact_type_id");
    return contact;
}

// A contact's values in the column order of CONTACTS, id left out.
QVariantList contactValues(const Contact& contact)
{
    return {text(contact.firstName), text(contact.lastName), text(contact.represented), text(contact.company),
            text(contact.department), text(contact.job), text(contact.businessFax), text(contact.houseFax),
            text(contact.otherFax), text(contact.businessNumber), text(contact.houseNumber), text(contact.mobile),
            text(contact.code), text(contact.address), text(contact.email), text(contact.remark),
            contact.contact_type_id};
}

ContactType readContactType(const QSqlQuery& query)
{
    ContactType type;
    type.id = num(query, "id");
    type.name = str(query, "name");
    return type;
}

enum class Represented { Ignored, ReplacesSender, FillsEmptyReceiver };

// The fax lists of the current user. The contact join may give one row per matching contact.
// The user's id is the first value of sql; more follow it.
QList<Fax> queryFaxes(const QString& sql, Represented represented = Represented::Ignored, const QVariantList& more = {})
{
    QList<Fax> faxes;
    QSqlQuery query(ConnectionPool::openConnection());
    query.setForwardOnly(true); // rows are read once, in order: no cache of them all
    if (!run(query, sql, QVariantList{gUser.id} + more))
        return faxes;
    const FaxColumns columns(query.record());
    while (query.next()) {
        Fax fax = readFax(query, columns);
        const QString name = represented == Represented::Ignored || columns.represented < 0
            ? QString()
            : query.value(columns.represented).toString();
        if (!name.isEmpty()) {
            if (represented == Represented::ReplacesSender)
                fax.sender = name;
            else if (fax.receiver.isEmpty())
                fax.receiver = name;
        }
        faxes.append(fax);
    }
    return faxes;
}

QList<Contact> queryContactList(const QString& sql, const QVariantList& values)
{
    QList<Contact> contacts;
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query, sql, values))
        return contacts;
    while (query.next())
        contacts.append(readContact(query));
    return contacts;
}

Contact queryOneContact(const QString& sql, const QVariantList& values)
{
    const QList<Contact> contacts = queryContactList(sql, values);
    return contacts.isEmpty() ? Contact() : contacts.last();
}

} // namespace

// ---- Accounts ----

void DatabaseManager::createTables()
{
    QSqlQuery query(ConnectionPool::openConnection());
    query.exec(QStringLiteral(
        "CREATE TABLE IF NOT EXISTS USERS (id INTEGER PRIMARY KEY AUTOINCREMENT, nickname VARCHAR(40) NOT NULL, "
        "password VARCHAR(40) NOT NULL, email VARCHAR(40) , phone VARCHAR(40) )"));
    query.exec(QStringLiteral(
        "CREATE TABLE IF NOT EXISTS DEVICES (id INTEGER PRIMARY KEY AUTOINCREMENT, deviceName VARCHAR(40) NOT NULL, "
        "devicePassword VARCHAR(40) NOT NULL,serverName VARCHAR(40) NOT NULL,localIP  VARCHAR(40),remoteIP "
        "VARCHAR(40),productID VARCHAR(40),extNumber VARCHAR(40),permission INTEGER, taskID VARCHAR(40), user_id "
        "INTEGER , internetPort INTEGER , connectStatus INTEGER ,foreign key (user_id) references USERS (id) )"));
    query.exec(QStringLiteral(
        "CREATE TABLE IF NOT EXISTS FAXES (id INTEGER PRIMARY KEY AUTOINCREMENT, pageSended INTEGER, pageTotal "
        "INTEGER, status INTEGER ,sender VARCHAR(40),receiver  VARCHAR(40),remark VARCHAR(40),time "
        "VARCHAR(40),serverID VARCHAR(40),line INTEGER , cid VARCHAR(40) , file VARCHAR(40) ,taskID INTEGER "
        ",filepath VARCHAR(40),tag INTEGER , priority INTEGER , issue VARCHAR(40) ,dialTotal INTEGER ,dialAlready "
        "INTEGER ,isDelete  BOOLEAN , device_id INTEGER , foreign key (device_id) references DEVICES (id) )"));
    query.exec(QStringLiteral(
        "CREATE TABLE IF NOT EXISTS CONTACTS (id INTEGER PRIMARY KEY AUTOINCREMENT, firstName VARCHAR(40), "
        "lastName VARCHAR(40), represented VARCHAR(40), company VARCHAR(40),department  VARCHAR(40),job  "
        "VARCHAR(40),businessFax  VARCHAR(40),houseFax  VARCHAR(40),otherFax  VARCHAR(40),businessNumber  "
        "VARCHAR(40),houseNumber  VARCHAR(40),mobile  VARCHAR(40),code  VARCHAR(40),address  VARCHAR(40),email "
        "VARCHAR(40),remark VARCHAR(40) , contact_type_id INTEGER , foreign key (contact_type_id) references "
        "CONTACT_TYPES (id))"));
    query.exec(QStringLiteral(
        "CREATE TABLE IF NOT EXISTS CONTACT_TYPES (id INTEGER PRIMARY KEY AUTOINCREMENT, name VARCHAR(40))"));
    // The folders join every fax to the contact whose business, house or other fax number is
    // its caller's: without these a large inbox compares each fax with every contact. Status
    // tracking finds a fax by its task, and a device's faxes go with it.
    const char* indexes[] = {
        "CREATE INDEX IF NOT EXISTS CONTACTS_businessFax ON CONTACTS (businessFax)",
        "CREATE INDEX IF NOT EXISTS CONTACTS_houseFax ON CONTACTS (houseFax)",
        "CREATE INDEX IF NOT EXISTS CONTACTS_otherFax ON CONTACTS (otherFax)",
        "CREATE INDEX IF NOT EXISTS FAXES_device_id ON FAXES (device_id)",
        "CREATE INDEX IF NOT EXISTS FAXES_taskID ON FAXES (taskID)",
        "CREATE INDEX IF NOT EXISTS DEVICES_user_id ON DEVICES (user_id)",
    };
    for (const char* index : indexes)
        query.exec(QString::fromLatin1(index));
    migrateSchema();
}

namespace {

bool hasColumn(QSqlDatabase& db, const QString& table, const QString& column)
{
    QSqlQuery info(db);
    info.exec(QStringLiteral("PRAGMA table_info(") + table + QLatin1Char(')'));
    while (info.next())
        if (info.value(1).toString().compare(column, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

bool exec(QSqlDatabase& db, const QString& sql)
{
    QSqlQuery query(db);
    if (query.exec(sql))
        return true;
    logFailure(query);
    return false;
}

// A fax keeps the options it was sent with, so an upload started again after a restart goes
// out with the same quality and schedule.
bool addSendOptionColumns(QSqlDatabase& db)
{
    const char* columns[][2] = {
        {"quality", "INTEGER"},       {"retryTime", "INTEGER"},        {"planTime", "VARCHAR(40)"},
        {"stopTime", "VARCHAR(40)"},  {"timeFrom", "VARCHAR(10)"},     {"timeTo", "VARCHAR(10)"},
        {"disableHeader", "BOOLEAN"}, {"disableDialPrefix", "BOOLEAN"},
    };
    for (const auto& column : columns) {
        const QString name = QString::fromLatin1(column[0]);
        if (!hasColumn(db, QStringLiteral("FAXES"), name)
            && !exec(db, QStringLiteral("ALTER TABLE FAXES ADD COLUMN ") + name + QLatin1Char(' ')
                             + QString::fromLatin1(column[1])))
            return false;
    }
    return true;
}

// A received fax is stored once per device and device task number: a fetch that is repeated
// after a broken run finds its row there. Copies an older store may hold are folded first.
bool uniqueReceivedFaxes(QSqlDatabase& db)
{
    return exec(db, QStringLiteral("DELETE FROM FAXES WHERE tag = 0 AND taskID > 0 AND id NOT IN "
                                   "(SELECT MIN(id) FROM FAXES WHERE tag = 0 AND taskID > 0 "
                                   "GROUP BY device_id, taskID)"))
        && exec(db, QStringLiteral("CREATE UNIQUE INDEX IF NOT EXISTS FAXES_received ON FAXES (device_id, taskID) "
                                   "WHERE tag = 0 AND taskID > 0"));
}

// Sent faxes kept the options dialog's index (0 low .. 3 critical) as their priority; they
// hold the FaxPriorityEnum value (1 .. 4) from now on, as the upload header and the outbox do.
bool priorityAsEnum(QSqlDatabase& db)
{
    return exec(db, QStringLiteral("UPDATE FAXES SET priority = priority + 1 WHERE tag = 1 AND priority BETWEEN 0 AND 3"));
}

} // namespace

// Each step after the first schema runs once, in order, in a transaction of its own;
// PRAGMA user_version records the last step done, so an older velkor.db is upgraded in
// place and a newer program finds nothing left to do. Steps are safe to run again.
int DatabaseManager::migrateSchema()
{
    using Step = bool (*)(QSqlDatabase&);
    const Step steps[] = {addSendOptionColumns, uniqueReceivedFaxes, priorityAsEnum};
    const int latest = int(sizeof(steps) / sizeof(steps[0]));

    QSqlDatabase db = ConnectionPool::openConnection();
    QSqlQuery version(db);
    int current = version.exec(QStringLiteral("PRAGMA user_version")) && version.next() ? version.value(0).toInt() : 0;
    version.finish();
    while (current < latest) {
        db.transaction();
        if (!steps[current](db)
            || !exec(db, QStringLiteral("PRAGMA user_version = ") + QString::number(current + 1))) {
            db.rollback();
            LogUtil::c(QStringLiteral("The store could not be upgraded past version %1").arg(current));
            break;
        }
        db.commit();
        ++current;
    }
    return current;
}

bool DatabaseManager::insertUser(QString& nickname, QString& password)
{
    return run(QStringLiteral("INSERT INTO USERS (nickname, password) VALUES (?, ?)"), {text(nickname), text(password)});
}

User DatabaseManager::loginUser(QString& nickname, QString& password)
{
    QSqlQuery query(ConnectionPool::openConnection());
    if (run(query, QStringLiteral("SELECT * FROM USERS WHERE nickname = ? AND password = ?"),
            {text(nickname), text(password)})
        && query.next())
        return readUser(query);
    return User();
}

User DatabaseManager::queryUserByNickname(QString& nickname)
{
    QSqlQuery query(ConnectionPool::openConnection());
    if (run(query, QStringLiteral("SELECT * FROM USERS WHERE nickname = ?"), {text(nickname)}) && query.next())
        return readUser(query);
    return User();
}

QStringList DatabaseManager::queryAllUserNickname()
{
    QStringList names;
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query, QStringLiteral("SELECT * FROM USERS")))
        return names;
    while (query.next())
        names.append(str(query, "nickname"));
    return names;
}

// ---- Devices ----

bool DatabaseManager::inseretDevice(Device& device)
{
    return run(QStringLiteral("INSERT INTO DEVICES (deviceName, devicePassword , serverName , localIP , remoteIP , "
                              "productID , extNumber , permission , user_id , internetPort) VALUES (?, ? , ? , ? , ? "
                              ", ? , ? , ? , ? , ?)"),
               {text(device.deviceName), text(device.devicePassword), text(device.serverName), text(device.localIP),
                text(device.remoteIP), text(device.productID), text(device.extNumber), device.permission, gUser.id,
                device.internetPort});
}

Device DatabaseManager::queryDevice(QString& productID)
{
    Device device;
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query,
             QStringLiteral("SELECT d.id , d.deviceName , d.devicePassword , d.serverName , d.localIP , d.remoteIP , "
                            "d.productID , d.taskID , d.internetPort FROM DEVICES as d WHERE user_id = ? AND productID = ?"),
             {gUser.id, text(productID)}))
        return device;
    while (query.next()) // several rows: the last one wins
        device = readDevice(query);
    return device;
}

QList<Device> DatabaseManager::queryDevices()
{
    QList<Device> devices;
    QSqlDatabase db = ConnectionPool::openConnection();
    if (!db.isOpen())
        return devices;
    QSqlQuery query(db);
    if (!run(query, QStringLiteral("SELECT * FROM DEVICES WHERE user_id = ?"), {gUser.id}))
        return devices;
    while (query.next())
        devices.append(readDevice(query)); // connectStatus keeps its default
    return devices;
}

bool DatabaseManager::deleteDevice(Device& device)
{
    // Nothing cascades in the store: the device's faxes go by hand, their files stay on disk.
    return run(QStringLiteral("DELETE FROM DEVICES WHERE id = ?"), {device.id})
        && run(QStringLiteral("DELETE FROM FAXES WHERE device_id = ?"), {device.id});
}

bool DatabaseManager::nativeDeleteFax(Device& device)
{
    return run(QStringLiteral("DELETE FROM FAXES WHERE device_id = ?"), {device.id});
}

int DatabaseManager::countDeviceFaxes(Device& device)
{
    QSqlQuery query(ConnectionPool::openConnection());
    return run(query, QStringLiteral("SELECT count(*) FROM FAXES WHERE device_id = ?"), {device.id}) && query.next()
        ? query.value(0).toInt()
        : 0;
}

void DatabaseManager::updateDevice(Device& device)
{
    run(QStringLiteral("UPDATE DEVICES SET localIP = ?, serverName = ? WHERE id = ? AND user_id = ?"),
        {text(device.localIP), text(device.serverName), device.id, gUser.id});
}

void DatabaseManager::updateDeviceLocalIP(Device& device)
{
    run(QStringLiteral("UPDATE DEVICES SET localIP = ? WHERE id = ? AND user_id = ?"),
        {text(device.localIP), device.id, gUser.id});
}

void DatabaseManager::updateDeviceRemoteIP(Device& device)
{
    run(QStringLiteral("UPDATE DEVICES SET remoteIP = ? , internetPort = ? WHERE id = ? AND user_id = ?"),
        {text(device.remoteIP), device.internetPort, device.id, gUser.id});
}

void DatabaseManager::updateDeviceConnectStatus(Device& device)
{
    run(QStringLiteral("UPDATE DEVICES SET connectStatus = ? WHERE id = ? AND user_id = ?"),
        {device.connectStatus, device.id, gUser.id});
}

void DatabaseManager::updateDeviceName(Device& device)
{
    run(QStringLiteral("UPDATE DEVICES SET deviceName = ?, devicePassword = ?, extNumber = ? , permission = ? WHERE "
                       "id = ? AND user_id = ?"),
        {text(device.deviceName), text(device.devicePassword), text(device.extNumber), device.permission, device.id,
         gUser.id});
}

void DatabaseManager::updateDeviceMaxTaskID(Device& device)
{
    run(QStringLiteral("UPDATE DEVICES SET TaskID = ? WHERE id = ? AND user_id = ?"),
        {text(device.taskID), device.id, gUser.id});
}

// ---- Faxes ----

int DatabaseManager::insertFax(Fax& fax, int deviceId)
{
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query,
             QStringLiteral("INSERT INTO FAXES (pageTotal, status , sender , receiver , remark , time , serverID , cid "
                            ", taskID , filepath, tag, priority, dialTotal, dialAlready , pageSended , isDelete , "
                            "device_id, quality, retryTime, planTime, stopTime, timeFrom, timeTo, disableHeader, "
                            "disableDialPrefix) VALUES (?, ? , ? , ? , ? , ? , ? , ? , ? , ? , ? , ? , ? , ? , ?, ?, ?, "
                            "?, ?, ?, ?, ?, ?, ?, ?)"),
             {fax.pageTotal, fax.status, text(fax.sender), text(fax.receiver), text(fax.remark), text(fax.time),
              text(fax.serverID), text(fax.cid), fax.taskID, text(fax.filepath), fax.tag, fax.priority, fax.dialTotal,
              fax.dialAlready, fax.pageSended, fax.isDelete, deviceId, fax.quality, fax.retryTime,
              optionText(fax.dateTimePlan), optionText(fax.dateTimeStop), optionText(fax.timeFrom),
              optionText(fax.timeTo), fax.disableHeader, fax.disabeDialPrefix}))
        return 0;
    return query.lastInsertId().toInt();
}

// Idempotent: a fax already stored for the device and task stays as it is, except a row that
// stands for a fax not yet fetched, which becomes the fax. The rows and the mark go in one
// transaction: a row that fails leaves the store and the mark as they were.
bool DatabaseManager::insertFaxes(const QList<Fax>& faxes, int deviceId, const QString& mark)
{
    const QString sql = QStringLiteral(
        "INSERT INTO FAXES(time , cid , file , taskID , sender ,  receiver , serverID , pageTotal , filepath , tag , "
        "remark , status, isDelete,  device_id) VALUES(:time , :cid , :file , :taskID , :sender ,  :receiver , "
        ":serverID, :pageTotal , :filepath , :tag, :remark , :status , :isDelete, :device_id) "
        "ON CONFLICT (device_id, taskID) WHERE tag = 0 AND taskID > 0 DO UPDATE SET time = excluded.time, "
        "cid = excluded.cid, file = excluded.file, sender = excluded.sender, receiver = excluded.receiver, "
        "serverID = excluded.serverID, pageTotal = excluded.pageTotal, filepath = excluded.filepath, "
        "remark = excluded.remark, status = excluded.status WHERE FAXES.status = :failed AND excluded.status != "
        ":failed");
    QSqlDatabase db = ConnectionPool::openConnection();
    if (!db.transaction())
        return false;
    QSqlQuery query(db);
    bool ok = query.prepare(sql);
    for (int i = 0; ok && i < faxes.size(); ++i) {
        const Fax& fax = faxes.at(i);
        query.bindValue(QStringLiteral(":time"), text(fax.time));
        query.bindValue(QStringLiteral(":cid"), text(fax.cid));
        query.bindValue(QStringLiteral(":file"), text(fax.file));
        query.bindValue(QStringLiteral(":taskID"), fax.taskID);
        query.bindValue(QStringLiteral(":sender"), text(fax.sender));
        query.bindValue(QStringLiteral(":receiver"), text(fax.receiver));
        query.bindValue(QStringLiteral(":serverID"), text(fax.serverID));
        query.bindValue(QStringLiteral(":pageTotal"), fax.pageTotal);
        query.bindValue(QStringLiteral(":filepath"), text(fax.filepath));
        query.bindValue(QStringLiteral(":tag"), fax.tag);
        query.bindValue(QStringLiteral(":remark"), text(fax.remark));
        query.bindValue(QStringLiteral(":status"), fax.status);
        query.bindValue(QStringLiteral(":isDelete"), fax.isDelete);
        query.bindValue(QStringLiteral(":device_id"), deviceId);
        query.bindValue(QStringLiteral(":failed"), int(FaxStatus::RECV_FAX_FAILED));
        ok = query.exec();
    }
    if (!ok)
        logFailure(query);
    query.finish();
    if (ok && !mark.isNull()) {
        QSqlQuery update(db);
        ok = run(update, QStringLiteral("UPDATE DEVICES SET TaskID = ? WHERE id = ? AND user_id = ?"),
                 {mark, deviceId, gUser.id});
    }
    if (ok && db.commit())
        return true;
    db.rollback();
    return false;
}

void DatabaseManager::updateFaxTaskID(Fax& fax)
{
    run(QStringLiteral("UPDATE FAXES SET taskID = ?  WHERE id = ?"), {fax.taskID, fax.id});
}

void DatabaseManager::updateFaxStatus(Fax& fax)
{
    run(QStringLiteral("UPDATE FAXES SET status = ?  WHERE id = ?"), {fax.status, fax.id});
}

int DatabaseManager::recoverStrandedUploads()
{
    // A row still in the queue (5) was never handed to the device; one whose upload was under
    // way (4) may have reached it, so it is checked with the device before going out again.
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query,
             QStringLiteral("UPDATE FAXES SET status = CASE status WHEN ? THEN ? ELSE ? END WHERE tag = 1 AND "
                            "taskID = 0 AND status IN (?, ?) AND device_id IN (SELECT id FROM DEVICES WHERE user_id = ?)"),
             {FaxStatus::SEND_FAX_UPLOADING, FaxStatus::SEND_FAX_UPLOAD_UNKNOWN, FaxStatus::SEND_FAX_UNSEND,
              FaxStatus::SEND_FAX_UPLOADING, FaxStatus::SEND_FAX_WAITTING, gUser.id}))
        return 0;
    return query.numRowsAffected();
}

void DatabaseManager::updateFaxRemark(Fax& fax)
{
    run(QStringLiteral("UPDATE FAXES SET remark = ?  WHERE id = ?"), {text(fax.remark), fax.id});
}

void DatabaseManager::updateFaxReaded(Fax& fax)
{
    updateFaxStatus(fax);
}

void DatabaseManager::updateUploadFaxFailed(Fax& fax)
{
    updateFaxStatus(fax);
}

void DatabaseManager::updateSendFax(Fax& fax)
{
    updateSendFaxes({fax});
}

bool DatabaseManager::updateSendFaxes(const QList<Fax>& faxes)
{
    const QString sql = QStringLiteral("UPDATE FAXES SET time = ? , status = ? , remark = ? , issue = ? , priority = ? "
                                       ", dialAlready = ? , pageSended = ? WHERE id = ?");
    return runEach(sql, faxes, [](QSqlQuery& query, const Fax& fax) {
        const QVariantList values{text(fax.time), fax.status,      text(fax.remark), text(fax.issue),
                                  fax.priority,   fax.dialAlready, fax.pageSended,   fax.id};
        for (int i = 0; i < values.size(); ++i)
            query.bindValue(i, values.at(i));
    });
}

bool DatabaseManager::deleteFax(Fax& fax)
{
    return run(QStringLiteral("UPDATE FAXES SET isDelete = 1 WHERE FAXES.id = ?"), {fax.id});
}

bool DatabaseManager::deleteFaxList(QList<Fax>& faxes)
{
    bool ok = true;
    for (Fax& fax : faxes)
        ok = deleteFax(fax) && ok;
    return ok;
}

void DatabaseManager::restoreFax(Fax& fax)
{
    run(QStringLiteral("UPDATE FAXES SET isDelete = 0 WHERE FAXES.id = ?"), {fax.id});
}

bool DatabaseManager::permanentlyDelete(Fax& fax)
{
    return run(QStringLiteral("DELETE FROM FAXES WHERE FAXES.id = ?"), {fax.id});
}

Fax DatabaseManager::queryFaxByTaskID(int taskID)
{
    Fax fax;
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query,
             QStringLiteral("SELECT f.id , f.status , f.taskID ,  f.pageTotal ,  f.sender  , f.time , f.serverID , "
                            "f.cid , f.file ,  f.filepath  , f.remark  , f.issue , f.priority FROM FAXES as f LEFT "
                            "JOIN Devices as d ON f.device_id = d.id  LEFT JOIN USERS u ON d.user_id = u.id WHERE u.id "
                            "= ? AND f.taskID = ?"),
             {gUser.id, taskID}))
        return fax;
    const FaxColumns columns(query.record());
    while (query.next())
        fax = readFax(query, columns);
    return fax;
}

QList<Fax> DatabaseManager::queryReceiveFaxes()
{
    return queryFaxes(QStringLiteral(
        "SELECT f.id ,  f.status ,  f.taskID , f.pageTotal ,  f.sender  , f.receiver , f.time , f.serverID , f.cid , "
        "f.file ,  f.filepath , f.tag ,  f.remark ,c.represented FROM FAXES as f LEFT JOIN Devices as d ON "
        "f.device_id = d.id LEFT JOIN CONTACTS as c ON f.cId != '' AND (f.cId = c.businessFax OR f.cId = "
        "c.houseFax OR f.cId = c.otherFax) LEFT JOIN USERS u ON d.user_id = u.id WHERE u.id = ? AND tag = 0 AND "
        "isDelete = 0 ORDER BY time desc"),
        Represented::ReplacesSender);
}

QList<Fax> DatabaseManager::querySendFaxes()
{
    return queryFaxes(QStringLiteral(
        "SELECT f.id , f.status , f.taskID , f.pageSended ,   f.pageTotal ,  f.sender  , f.receiver , f.time , "
        "f.serverID , f.cid , f.file ,  f.filepath  , f.remark  , f.issue , f.priority , f.dialTotal , f.dialAlready  "
        ", f.tag , c.represented , " SEND_OPTION_COLUMNS " FROM FAXES as f LEFT JOIN Devices as d ON f.device_id = d.id LEFT JOIN CONTACTS as c "
        "ON f.cId = c.businessFax OR f.cId = c.houseFax OR f.cId = c.otherFax LEFT JOIN USERS u ON d.user_id = u.id "
        "WHERE u.id = ? AND tag = 1 AND isDelete = 0 ORDER BY time desc"),
        Represented::FillsEmptyReceiver);
}

QList<Fax> DatabaseManager::queryDeleteFaxes()
{
    return queryFaxes(QStringLiteral(
        "SELECT f.id , f.status  , f.receiver ,  f.sender  , f.pageTotal ,  f.time , f.serverID , f.cid , f.file , "
        "f.taskID, f.filepath  , f.remark  , f.issue , f.tag FROM FAXES as f LEFT JOIN Devices as d ON f.device_id = "
        "d.id  LEFT JOIN USERS u ON d.user_id = u.id WHERE u.id = ? AND isDelete = 1 ORDER BY time desc"));
}

QList<Fax> DatabaseManager::queryUploadingFax()
{
    return queryFaxes(QStringLiteral(
        "SELECT f.id , f.status , f.taskID , f.pageSended ,   f.pageTotal ,  f.sender  , f.time , f.serverID , f.cid "
        ", f.file ,  f.filepath  , f.remark  , f.issue , f.priority , f.dialTotal , f.dialAlready  , f.tag , " SEND_OPTION_COLUMNS
        " , d.id as d_id , d.deviceName , d.devicePassword , d.serverName , d.localIP , d.remoteIP , d.productID , d.taskID as "
        "maxTaskID , d.internetPort FROM FAXES as f LEFT JOIN Devices as d ON f.device_id = d.id  LEFT JOIN USERS u ON d.user_id = "
        "u.id WHERE u.id = ? AND tag = 1 AND isDelete = 0 AND f.taskId != 0 AND f.status != 1 AND f.status != 2 AND "
        "f.status != ? ORDER BY time desc"),
        Represented::Ignored, {int(FaxStatus::SEND_FAX_NOT_FOUND)});
}

void DatabaseManager::reopenSentFax(int deviceId, int taskID)
{
    run(QStringLiteral("UPDATE FAXES SET status = ? WHERE device_id = ? AND taskID = ? AND tag = 1"),
        {int(FaxStatus::SEND_FAX_WAITTING), deviceId, taskID});
}

// The tray's watch: the unread received faxes, newest last, without the contact join.
QList<Fax> DatabaseManager::queryUnreadFaxes()
{
    return queryFaxes(QStringLiteral(
        "SELECT f.id , f.status , f.taskID , f.pageTotal , f.sender , f.time , f.serverID , f.cid , f.tag FROM FAXES "
        "as f LEFT JOIN Devices as d ON f.device_id = d.id LEFT JOIN USERS u ON d.user_id = u.id WHERE u.id = ? AND "
        "tag = 0 AND isDelete = 0 AND f.status = 11 ORDER BY f.id"));
}

// ---- Contacts ----

bool DatabaseManager::addContact(Contact& contact)
{
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query,
             QStringLiteral("INSERT INTO CONTACTS (firstName , lastName , represented , company , department , job , "
                            "businessFax , houseFax , otherFax  , businessNumber , houseNumber , mobile , code , "
                            "address , email , remark , contact_type_id) VALUES (?, ? , ? , ? , ? , ? , ? , ? , ?, ? "
                            ", ? , ? , ?, ? , ? , ? , ?)"),
             contactValues(contact)))
        return false;
    contact.id = query.lastInsertId().toInt();
    return true;
}

bool DatabaseManager::addContactList(QList<Contact> contacts)
{
    const QString sql = QStringLiteral(
        "INSERT INTO CONTACTS (firstName , lastName , represented , company , department , job , businessFax , "
        "houseFax , otherFax  , businessNumber , houseNumber , mobile , code , address , email , remark , "
        "contact_type_id) VALUES(:firstName , :lastName , :represented , :company , :department ,  :job , "
        ":businessFax , :houseFax , :otherFax , :businessNumber , :houseNumber , :mobile, :code,  :address , "
        ":email ,:remark , :contact_type_id)");
    return runEach(sql, contacts, [](QSqlQuery& query, const Contact& contact) {
        query.bindValue(QStringLiteral(":firstName"), text(contact.firstName));
        query.bindValue(QStringLiteral(":lastName"), text(contact.lastName));
        query.bindValue(QStringLiteral(":represented"), text(contact.represented));
        query.bindValue(QStringLiteral(":company"), text(contact.company));
        query.bindValue(QStringLiteral(":department"), text(contact.department));
        query.bindValue(QStringLiteral(":job"), text(contact.job));
        query.bindValue(QStringLiteral(":businessFax"), text(contact.businessFax));
        query.bindValue(QStringLiteral(":houseFax"), text(contact.houseFax));
        query.bindValue(QStringLiteral(":otherFax"), text(contact.otherFax));
        query.bindValue(QStringLiteral(":businessNumber"), text(contact.businessNumber));
        query.bindValue(QStringLiteral(":houseNumber"), text(contact.houseNumber));
        query.bindValue(QStringLiteral(":mobile"), text(contact.mobile));
        query.bindValue(QStringLiteral(":code"), text(contact.code));
        query.bindValue(QStringLiteral(":address"), text(contact.address));
        query.bindValue(QStringLiteral(":email"), text(contact.email));
        query.bindValue(QStringLiteral(":remark"), text(contact.remark));
        query.bindValue(QStringLiteral(":contact_type_id"), contact.contact_type_id);
    });
}

bool DatabaseManager::updateContact(Contact& contact)
{
    return run(QStringLiteral("UPDATE CONTACTS SET firstName = ?, lastName = ?  , represented = ? , company=? , "
                              "department=? , job=? , businessFax=? , houseFax=? , otherFax=? , businessNumber=? , "
                              "houseNumber=? , mobile=? , code=? , address=? , email=? , remark=?  , contact_type_id = "
                              "? WHERE id = ?"),
               contactValues(contact) << contact.id);
}

bool DatabaseManager::deleteContact(Contact& contact)
{
    return run(QStringLiteral("DELETE FROM CONTACTS  WHERE CONTACTS.id = ?"), {contact.id});
}

Contact DatabaseManager::findContact(Contact& contact)
{
    return queryOneContact(QLatin1String(kContactColumns) + QStringLiteral(" WHERE c.id = ?"), {contact.id});
}

Contact DatabaseManager::findContactByFaxNumber(QString& number)
{
    const QVariant value = text(number);
    return queryOneContact(QLatin1String(kContactColumns)
                               + QStringLiteral(" WHERE businessFax = ? OR houseFax = ? OR otherFax = ?"),
                           {value, value, value});
}

QList<Contact> DatabaseManager::queryContacts()
{
    return queryContactList(QLatin1String(kContactColumns), {});
}

QList<Contact> DatabaseManager::queryContacts(int typeId)
{
    return queryContactList(QLatin1String(kContactColumns) + QStringLiteral(" WHERE c.contact_type_id = ?"), {typeId});
}

bool DatabaseManager::addContactType(ContactType& type)
{
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query, QStringLiteral("INSERT INTO CONTACT_TYPES (name) VALUES (?)"), {text(type.name)}))
        return false;
    type.id = query.lastInsertId().toInt();
    return true;
}

ContactType DatabaseManager::queryContactType(int id)
{
    ContactType type;
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query, QStringLiteral("SELECT cp.id ,  cp.name  FROM CONTACT_TYPES as cp WHERE cp.id = ?"), {id}))
        return type;
    while (query.next())
        type = readContactType(query);
    return type;
}

QList<ContactType> DatabaseManager::queryContactTypes()
{
    QList<ContactType> types;
    QSqlQuery query(ConnectionPool::openConnection());
    if (!run(query, QStringLiteral("SELECT cp.id ,  cp.name  FROM CONTACT_TYPES as cp")))
        return types;
    while (query.next())
        types.append(readContactType(query));
    return types;
}

bool DatabaseManager::queryContactTypeByName(QString& name)
{
    QSqlQuery query(ConnectionPool::openConnection());
    return run(query, QStringLiteral("SELECT cp.id ,  cp.name  FROM CONTACT_TYPES as cp WHERE cp.name = ?"),
               {text(name)})
        && query.next();
}

bool DatabaseManager::queryContactTypeHasContact(int typeId)
{
    QSqlQuery query(ConnectionPool::openConnection());
    return run(query, QStringLiteral("SELECT count(contact_type_id) FROM CONTACTS WHERE contact_type_id = ?"),
               {typeId})
        && query.next() && query.value(0).toInt() > 0;
}

bool DatabaseManager::renameContactType(ContactType& type)
{
    return run(QStringLiteral("UPDATE CONTACT_TYPES SET name = ? WHERE id = ?"), {text(type.name), type.id});
}

bool DatabaseManager::deleteContactType(ContactType& type)
{
    return run(QStringLiteral("DELETE FROM CONTACT_TYPES  WHERE CONTACT_TYPES.id = ?"), {type.id});
}
