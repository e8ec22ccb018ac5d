<?xml version='1.0' encoding='utf-8'?>
<TS version="2.1" language="en_US" sourcelanguage="zh_CN">
<context>
    <name>AddContactDialog</name>
    <message>
        <source>联系人</source>
        <translation>Contact</translation>
    </message>
    <message>
        <source>姓氏：</source>
        <translation>Last name:</translation>
    </message>
    <message>
        <source>名字：</source>
        <translation>First name:</translation>
    </message>
    <message>
        <source>表示为：</source>
        <translation>Display as:</translation>
    </message>
    <message>
        <source>公司：</source>
        <translation>Company:</translation>
    </message>
    <message>
        <source>部门：</source>
        <translation>Department:</translation>
    </message>
    <message>
        <source>职务：</source>
        <translation>Job title:</translation>
    </message>
    <message>
        <source>商务传真：</source>
        <translation>Business fax:</translation>
    </message>
    <message>
        <source>住宅传真：</source>
        <translation>Home fax:</translation>
    </message>
    <message>
        <source>其他传真：</source>
        <translation>Other fax:</translation>
    </message>
    <message>
        <source>商务电话：</source>
        <translation>Business phone:</translation>
    </message>
    <message>
        <source>住宅电话：</source>
        <translation>Home phone:</translation>
    </message>
    <message>
        <source>移动电话：</source>
        <translation>Mobile phone:</translation>
    </message>
    <message>
        <source>邮政编码：</source>
        <translation>Postal code:</translation>
    </message>
    <message>
        <source>电子邮件：</source>
        <translation>Email:</translation>
    </message>
    <message>
        <source>联系地址：</source>
        <translation>Address:</translation>
    </message>
    <message>
        <source>备注：</source>
        <translation>Remark:</translation>
    </message>
    <message>
        <source>分组：</source>
        <translation>Group:</translation>
    </message>
    <message>
        <source>保存</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>请至少填写联系人的姓名或一个号码</source>
        <translation>Please enter at least a name or a number for the contact</translation>
    </message>
    <message>
        <source>联系人保存失败</source>
        <translation>The contact could not be saved</translation>
    </message>
</context>
<context>
    <name>AutoOutputDialog</name>
    <message>
        <source>传真自动输出设置</source>
        <translation>Automatic Fax Output Settings</translation>
    </message>
    <message>
        <source>收到新传真时</source>
        <translation>When a new fax is received</translation>
    </message>
    <message>
        <source>自动输出通用格式文件</source>
        <translation>Automatically output a file in a common format</translation>
    </message>
    <message>
        <source>文件类型：</source>
        <translation>File type:</translation>
    </message>
    <message>
        <source>输出路径：</source>
        <translation>Output path:</translation>
    </message>
    <message>
        <source>浏览</source>
        <translation>Browse</translation>
    </message>
    <message>
        <source>创建子文件夹：</source>
        <translation>Create subfolder:</translation>
    </message>
    <message>
        <source>&lt;用户名&gt;</source>
        <translation>&lt;User name&gt;</translation>
    </message>
    <message>
        <source>&lt;用户名&gt;&lt;传真号码&gt;</source>
        <translation>&lt;User name&gt;&lt;Fax number&gt;</translation>
    </message>
    <message>
        <source>&lt;用户名&gt;&lt;联系人&gt;</source>
        <translation>&lt;User name&gt;&lt;Contact&gt;</translation>
    </message>
    <message>
        <source>成功发送传真后</source>
        <translation>After a fax is sent successfully</translation>
    </message>
    <message>
        <source>应用</source>
        <translation>Apply</translation>
    </message>
    <message>
        <source>传真自动输出</source>
        <translation>Automatic Fax Output</translation>
    </message>
    <message>
        <source>无法保存设置：%1</source>
        <translation>The settings could not be saved: %1</translation>
    </message>
    <message>
        <source>输出到 %1</source>
        <translation>saved to %1</translation>
    </message>
    <message>
        <source>不输出</source>
        <translation>not saved</translation>
    </message>
    <message>
        <source>设置已保存。
接收的传真：%1
发送的传真：%2</source>
        <translation>Settings saved.
Received faxes: %1
Sent faxes: %2</translation>
    </message>
</context>
<context>
    <name>AutoSearchWidget</name>
    <message>
        <source>正在搜索设备...</source>
        <translation>Searching devices...</translation>
    </message>
</context>
<context>
    <name>BindDeviceDialog</name>
    <message>
        <source>添加设备</source>
        <translation>Add a Device</translation>
    </message>
    <message>
        <source>发现</source>
        <translation>Find</translation>
    </message>
    <message>
        <source>指定</source>
        <translation>Assign</translation>
    </message>
    <message>
        <source>该设备已添加</source>
        <translation>This device has already been added</translation>
    </message>
    <message>
        <source>未配置地址服务，无法按设备ID添加设备。</source>
        <translation>No address service is configured, so devices cannot be added by their ID.</translation>
    </message>
    <message>
        <source>程序选项</source>
        <translation>Options</translation>
    </message>
    <message>
        <source>设备 %1（%2）添加成功，正在接收它的传真。</source>
        <translation>Device %1 (%2) added. Its faxes are being received.</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>ContactTypeDialog</name>
    <message>
        <source>编辑类别</source>
        <translation>Edit categories</translation>
    </message>
    <message>
        <source>新建</source>
        <translation>New</translation>
    </message>
    <message>
        <source>重命名</source>
        <translation>Rename</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>关闭</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>类别名称</source>
        <translation>Category name</translation>
    </message>
    <message>
        <source>联系人分类名称</source>
        <translation>Contact category name</translation>
    </message>
    <message>
        <source>同名类别已经存在</source>
        <translation>A category with this name already exists</translation>
    </message>
    <message>
        <source>分组内有联系人，无法删除分组</source>
        <translation>The group contains contacts and cannot be deleted</translation>
    </message>
</context>
<context>
    <name>ContactWindow</name>
    <message>
        <source>通讯薄</source>
        <translation>Address Book</translation>
    </message>
    <message>
        <source>按类别显示：</source>
        <translation>Show by category:</translation>
    </message>
    <message>
        <source>编辑类别</source>
        <translation>Edit categories</translation>
    </message>
    <message>
        <source>搜索联系人</source>
        <translation>Search contacts</translation>
    </message>
    <message>
        <source>新建</source>
        <translation>New</translation>
    </message>
    <message>
        <source>修改</source>
        <translation>Modify</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>移动到-&gt;</source>
        <translation>Move to-&gt;</translation>
    </message>
    <message>
        <source>导入联系人</source>
        <translation>Import contacts</translation>
    </message>
    <message>
        <source>导出联系人</source>
        <translation>Export contacts</translation>
    </message>
    <message>
        <source>从电子表格导入(*.csv)</source>
        <translation>From spreadsheet (*.csv)</translation>
    </message>
    <message>
        <source>从名片文件导入(*.vcf)</source>
        <translation>From business card file (*.vcf)</translation>
    </message>
    <message>
        <source>导出为电子表格(*.csv)</source>
        <translation>As spreadsheet (*.csv)</translation>
    </message>
    <message>
        <source>导出为名片文件(*.cvf)</source>
        <translation>As business card file (*.cvf)</translation>
    </message>
    <message>
        <source>类别</source>
        <translation>Category</translation>
    </message>
    <message>
        <source>联系人</source>
        <translation>Contact</translation>
    </message>
    <message>
        <source>公司</source>
        <translation>Company</translation>
    </message>
    <message>
        <source>传真号码</source>
        <translation>Fax number</translation>
    </message>
    <message>
        <source>电邮</source>
        <translation>Email</translation>
    </message>
    <message>
        <source>全部联系人</source>
        <translation>All contacts</translation>
    </message>
    <message>
        <source>保存文件</source>
        <translation>Save file</translation>
    </message>
    <message>
        <source>联系人.csv</source>
        <translation>contacts.csv</translation>
    </message>
    <message>
        <source>打开</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>删除联系人“%1”吗？</source>
        <translation>Delete the contact "%1"?</translation>
    </message>
    <message>
        <source>联系人删除失败</source>
        <translation>The contact could not be deleted</translation>
    </message>
    <message>
        <source>无法打开文件：%1</source>
        <translation>Cannot open the file: %1</translation>
    </message>
    <message>
        <source>联系人导入失败</source>
        <translation>The contacts could not be imported</translation>
    </message>
    <message>
        <source>已导入联系人：%1</source>
        <translation>Contacts imported: %1</translation>
    </message>
    <message>
        <source>以下行的字段不足 %1 个，已跳过：%2</source>
        <translation>Lines with fewer than %1 fields were skipped: %2</translation>
    </message>
</context>
<context>
    <name>CreateLocalAccountWidget</name>
    <message>
        <source>创建本地账户</source>
        <translation>Create Local Account</translation>
    </message>
    <message>
        <source>本地账户只能在这台电脑上使用。</source>
        <translation>A local account works on this computer only.</translation>
    </message>
    <message>
        <source>输入昵称</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>输入密码</source>
        <translation>Enter Password</translation>
    </message>
    <message>
        <source>确认密码</source>
        <translation>Enter Password Again</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>返回登录</source>
        <translation>Back to Login</translation>
    </message>
    <message>
        <source>警告</source>
        <translation>Warning</translation>
    </message>
    <message>
        <source>该账号已被创建</source>
        <translation>Account already exists.</translation>
    </message>
    <message>
        <source>昵称不能包含“/”，也不能是“.”或“..”</source>
        <translation>A name can't contain "/" or be "." or "..".</translation>
    </message>
    <message>
        <source>两次输入的密码不一致</source>
        <translation>Password incorrect. Please try again.</translation>
    </message>
    <message>
        <source>请输入昵称</source>
        <translation>Please enter a name</translation>
    </message>
    <message>
        <source>账号创建失败</source>
        <translation>The account could not be created</translation>
    </message>
</context>
<context>
    <name>DeleteBoxWidget</name>
    <message>
        <source>状态</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>接收号码</source>
        <translation>Answer Number</translation>
    </message>
    <message>
        <source>收件人</source>
        <translation>Recipient</translation>
    </message>
    <message>
        <source>发送号码</source>
        <translation>Calling Number</translation>
    </message>
    <message>
        <source>发件人</source>
        <translation>Sender</translation>
    </message>
    <message>
        <source>页数</source>
        <translation>Page(s)</translation>
    </message>
    <message>
        <source>时间</source>
        <translation>Time</translation>
    </message>
    <message>
        <source>文字备注</source>
        <translation>Remarks</translation>
    </message>
    <message>
        <source>失败原因</source>
        <translation>Failure Issue</translation>
    </message>
    <message>
        <source>服务器</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>还原</source>
        <translation>Restore</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>永久删除这份传真？它将无法还原。</source>
        <translation>Delete this fax permanently? It cannot be restored.</translation>
    </message>
</context>
<context>
    <name>DestopTip</name>
    <message>
        <source>我是右下角弹框</source>
        <translation>I am the notice at the lower right corner</translation>
    </message>
</context>
<context>
    <name>DeviceItemDelegate</name>
    <message>
        <source>添加</source>
        <translation>Add</translation>
    </message>
</context>
<context>
    <name>DeviceListDelegate</name>
    <message>
        <source>管理员</source>
        <translation>Administrator</translation>
    </message>
    <message>
        <source>分发员</source>
        <translation>Distributor</translation>
    </message>
    <message>
        <source>普通用户</source>
        <translation>Ordinary User</translation>
    </message>
</context>
<context>
    <name>DeviceListWindow</name>
    <message>
        <source>我的设备</source>
        <translation>My Devices</translation>
    </message>
</context>
<context>
    <name>DeviceLogWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>时间范围</source>
        <translation>Date Range</translation>
    </message>
    <message>
        <source>至</source>
        <translation>to</translation>
    </message>
    <message>
        <source>查看日志</source>
        <translation>View Log</translation>
    </message>
    <message>
        <source>无法打开日志查看程序，日志已保存在：%1</source>
        <translation>The log viewer could not be started. The log was saved to: %1</translation>
    </message>
    <message>
        <source>以下日期的日志未能从设备取得：%1</source>
        <translation>The logs of these days could not be fetched from the device: %1</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>DeviceManageThread</name>
    <message>
        <source>更新文件无法打开</source>
        <translation>The update file cannot be opened</translation>
    </message>
    <message>
        <source>更新文件无效</source>
        <translation>The update file is not valid</translation>
    </message>
    <message>
        <source>无法登录设备</source>
        <translation>Cannot log in to the device</translation>
    </message>
    <message>
        <source>设备没有应答</source>
        <translation>The device did not answer</translation>
    </message>
    <message>
        <source>设备要求的数据多于更新文件</source>
        <translation>The device asked for more data than the update file holds</translation>
    </message>
    <message>
        <source>更新文件无法读取</source>
        <translation>The update file cannot be read</translation>
    </message>
</context>
<context>
    <name>DeviceManageWidget</name>
    <message>
        <source>返回</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>修改设备名称</source>
        <translation>Rename Device</translation>
    </message>
    <message>
        <source>更改设备账号</source>
        <translation>Change Device Account</translation>
    </message>
    <message>
        <source>删除设备</source>
        <translation>Delete Device</translation>
    </message>
    <message>
        <source>版本与状态</source>
        <translation>Version and Status</translation>
    </message>
    <message>
        <source>Email设置</source>
        <translation>Email Settings</translation>
    </message>
    <message>
        <source>设备高级参数</source>
        <translation>Advanced Device Parameters</translation>
    </message>
    <message>
        <source>网络设置</source>
        <translation>Network Settings</translation>
    </message>
    <message>
        <source>时间与时区</source>
        <translation>Time and Time Zone</translation>
    </message>
    <message>
        <source>设备日志</source>
        <translation>Device Log</translation>
    </message>
    <message>
        <source>用户账号</source>
        <translation>User Accounts</translation>
    </message>
    <message>
        <source>传真设置</source>
        <translation>Fax Settings</translation>
    </message>
    <message>
        <source>传真发送队列</source>
        <translation>Fax Send Queue</translation>
    </message>
    <message>
        <source>传真历史记录</source>
        <translation>Fax History</translation>
    </message>
    <message>
        <source>固件升级</source>
        <translation>Firmware Upgrade</translation>
    </message>
    <message>
        <source>设备语言监听</source>
        <translation>Device Voice Monitor</translation>
    </message>
    <message>
        <source>%1(%2) 分机号:%3</source>
        <translation>%1(%2) Extension:%3</translation>
    </message>
    <message>
        <source>确定要删除此设备并清除此设备下的传真?</source>
        <translation>Delete this device and clear its faxes?</translation>
    </message>
    <message>
        <source>设备名称</source>
        <translation>Device Name</translation>
    </message>
    <message>
        <source>修改设备名称失败</source>
        <translation>Renaming the device failed</translation>
    </message>
    <message>
        <source>修改设备名称成功</source>
        <translation>The device was renamed</translation>
    </message>
    <message>
        <source>更改设备账号将删除本机保存的此设备的全部传真（共%1份，包括已删除的传真）。确定要更改吗？</source>
        <translation>Changing the device account removes all faxes of this device stored on this computer (%1 in all, deleted items included). Change the account?</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>EmailSettingWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>公共SMTP设置</source>
        <translation>Public SMTP Settings</translation>
    </message>
    <message>
        <source>SMTP服务器：</source>
        <translation>SMTP server:</translation>
    </message>
    <message>
        <source>SMTP用户名：</source>
        <translation>SMTP user name:</translation>
    </message>
    <message>
        <source>SMTP密码：</source>
        <translation>SMTP password:</translation>
    </message>
    <message>
        <source>发送传真邮箱地址：</source>
        <translation>Sender address for faxes:</translation>
    </message>
    <message>
        <source>应用修改</source>
        <translation>Apply Changes</translation>
    </message>
    <message>
        <source>修改公共SMTP设置成功</source>
        <translation>The public SMTP settings were changed.</translation>
    </message>
    <message>
        <source>修改公共SMTP设置失败</source>
        <translation>The public SMTP settings could not be changed.</translation>
    </message>
    <message>
        <source>留空则保持设备上的密码</source>
        <translation>Leave empty to keep the device's password</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>FaxDetailWidget</name>
    <message>
        <source>本线路标识</source>
        <translation>Line Identity</translation>
    </message>
    <message>
        <source>公司名称:</source>
        <translation>Company Name:</translation>
    </message>
    <message>
        <source>传真号码:</source>
        <translation>Fax Number:</translation>
    </message>
    <message>
        <source>传真标识:</source>
        <translation>Fax ID (CSID):</translation>
    </message>
    <message>
        <source>传真页眉格式：</source>
        <translation>Fax Header Format:</translation>
    </message>
    <message>
        <source>线路与拨号</source>
        <translation>Line and Dialling</translation>
    </message>
    <message>
        <source>禁用本线路断线警示音</source>
        <translation>Disable the disconnect warning tone on this line</translation>
    </message>
    <message>
        <source>接收传真后复位线路</source>
        <translation>Reset the line after receiving a fax</translation>
    </message>
    <message>
        <source>本地区号:</source>
        <translation>Local Area Code:</translation>
    </message>
    <message>
        <source>拨IP电话码:</source>
        <translation>IP Call Prefix:</translation>
    </message>
    <message>
        <source>拨外线码:</source>
        <translation>Outside Line Prefix:</translation>
    </message>
    <message>
        <source>拨内线码:</source>
        <translation>Inside Line Prefix:</translation>
    </message>
    <message>
        <source>发送</source>
        <translation>Sending</translation>
    </message>
    <message>
        <source>发送速度:</source>
        <translation>Send Speed:</translation>
    </message>
    <message>
        <source>发送时启用纠错模式(ECM)</source>
        <translation>Use error correction (ECM) when sending</translation>
    </message>
    <message>
        <source>发送时禁用语音提示</source>
        <translation>Disable voice prompts when sending</translation>
    </message>
    <message>
        <source>禁用本线路发送</source>
        <translation>Disable sending on this line</translation>
    </message>
    <message>
        <source>发送优先级别:</source>
        <translation>Send Priority:</translation>
    </message>
    <message>
        <source>接收</source>
        <translation>Receiving</translation>
    </message>
    <message>
        <source>接受速度:</source>
        <translation>Receive Speed:</translation>
    </message>
    <message>
        <source>接收时启用纠错模式(ECM)</source>
        <translation>Use error correction (ECM) when receiving</translation>
    </message>
    <message>
        <source>接收时禁用语音提示</source>
        <translation>Disable voice prompts when receiving</translation>
    </message>
    <message>
        <source>自动接听振铃次数:</source>
        <translation>Rings Before Auto Answer:</translation>
    </message>
    <message>
        <source>传真分机号码错误仍然开始接收</source>
        <translation>Receive even when the fax extension number is wrong</translation>
    </message>
    <message>
        <source>未检测到传真音仍然开始接收</source>
        <translation>Receive even when no fax tone is detected</translation>
    </message>
    <message>
        <source>必须输入正确分机号码才接收</source>
        <translation>Receive only after a correct extension number</translation>
    </message>
    <message>
        <source>(接收的传真都保存在公共传真收件箱)</source>
        <translation>(Received faxes are all kept in the public fax inbox)</translation>
    </message>
    <message>
        <source>电话转移码:</source>
        <translation>Call Transfer Code:</translation>
    </message>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>应用修改</source>
        <translation>Apply Changes</translation>
    </message>
    <message>
        <source>设置服务器传真参数成功</source>
        <translation>Fax parameters of the server set</translation>
    </message>
    <message>
        <source>设置服务器传真参数失败</source>
        <translation>Setting the fax parameters of the server failed</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>FaxDetailWindow</name>
    <message>
        <source>传真查看编辑器</source>
        <translation>Fax Viewer and Editor</translation>
    </message>
    <message>
        <source>收件人....</source>
        <translation>Recipients....</translation>
    </message>
    <message>
        <source>传真号码，多个号码用分号隔开</source>
        <translation>Fax numbers, separated by semicolons</translation>
    </message>
    <message>
        <source>备注：</source>
        <translation>Remark:</translation>
    </message>
    <message>
        <source>传真选项</source>
        <translation>Fax Options</translation>
    </message>
    <message>
        <source>时间：</source>
        <translation>Time:</translation>
    </message>
    <message>
        <source>发件人：</source>
        <translation>Sender:</translation>
    </message>
    <message>
        <source>收件人：</source>
        <translation>Recipient:</translation>
    </message>
    <message>
        <source>传真</source>
        <translation>File</translation>
    </message>
    <message>
        <source>页面</source>
        <translation>Page</translation>
    </message>
    <message>
        <source>工具栏</source>
        <translation>Toolbar</translation>
    </message>
    <message>
        <source>来自文件</source>
        <translation>From File</translation>
    </message>
    <message>
        <source>回复</source>
        <translation>Reply</translation>
    </message>
    <message>
        <source>转发</source>
        <translation>Forward</translation>
    </message>
    <message>
        <source>上一页</source>
        <translation>Previous page</translation>
    </message>
    <message>
        <source>下一页</source>
        <translation>Next page</translation>
    </message>
    <message>
        <source>页面上移</source>
        <translation>Move Up</translation>
    </message>
    <message>
        <source>页面下移</source>
        <translation>Move Down</translation>
    </message>
    <message>
        <source>删除页面</source>
        <translation>Delete Page</translation>
    </message>
    <message>
        <source>向左旋转</source>
        <translation>Rotate left</translation>
    </message>
    <message>
        <source>向右旋转</source>
        <translation>Rotate right</translation>
    </message>
    <message>
        <source>放大</source>
        <translation>Zoom in</translation>
    </message>
    <message>
        <source>缩小</source>
        <translation>Zoom out</translation>
    </message>
    <message>
        <source>分割页面</source>
        <translation>Split Page</translation>
    </message>
    <message>
        <source>添加传真封面</source>
        <translation>Add Cover Page</translation>
    </message>
    <message>
        <source>签名盖章</source>
        <translation>Sign and Stamp</translation>
    </message>
    <message>
        <source>文字标注</source>
        <translation>Text Note</translation>
    </message>
    <message>
        <source>当前页面另存为</source>
        <translation>Save Current Page As</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>无法读取传真文件：%1</source>
        <translation>Cannot read the fax file: %1</translation>
    </message>
    <message>
        <source>打开</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>正在读取 %1 ...</source>
        <translation>Reading %1 ...</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>以下文件无法读取，已跳过：
%1</source>
        <translation>These files could not be read and were skipped:
%1</translation>
    </message>
    <message>
        <source>传真第%1页</source>
        <translation>Fax page %1</translation>
    </message>
    <message>
        <source>无法保存图片：%1</source>
        <translation>Cannot save the image: %1</translation>
    </message>
    <message>
        <source>请输入收件人信息</source>
        <translation>Please enter the recipient</translation>
    </message>
    <message>
        <source>请添加传真文件</source>
        <translation>Please add a fax file</translation>
    </message>
    <message>
        <source>还没有添加设备</source>
        <translation>No device has been added yet</translation>
    </message>
    <message>
        <source>传真没有生成，请检查收件人信息</source>
        <translation>No fax was made; please check the recipients</translation>
    </message>
    <message>
        <source>发送传真</source>
        <translation>Send Fax</translation>
    </message>
    <message>
        <source>适合页面</source>
        <translation>Fit Page</translation>
    </message>
    <message>
        <source>适合宽度</source>
        <translation>Fit Width</translation>
    </message>
    <message>
        <source>打印</source>
        <translation>Print</translation>
    </message>
    <message>
        <source>已保存为 %1</source>
        <translation>Saved as %1</translation>
    </message>
    <message>
        <source>这份传真还没有发送，关闭后其页面和收件人将丢失。
确定关闭吗？</source>
        <translation>This fax has not been sent. Closing the window discards its pages and recipients.
Close it anyway?</translation>
    </message>
    <message>
        <source>传真文件无法写入：
%1
发往以下收件人的传真没有生成：%2</source>
        <translation>The fax file could not be written:
%1
No fax was made for these recipients: %2</translation>
    </message>
</context>
<context>
    <name>FaxDistributeDialog</name>
    <message>
        <source>内部分发</source>
        <translation>Internal Distribution</translation>
    </message>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>设备用户(双击添加)</source>
        <translation>Device users (double-click to add)</translation>
    </message>
    <message>
        <source>分发给(双击移除)</source>
        <translation>Distribute to (double-click to remove)</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>用户名</source>
        <translation>User Name</translation>
    </message>
    <message>
        <source>传真已分发给：%1</source>
        <translation>The fax was distributed to: %1</translation>
    </message>
    <message>
        <source>内部分发失败：设备没有应答。</source>
        <translation>Distribution failed: the device did not answer.</translation>
    </message>
    <message>
        <source>内部分发失败：%1</source>
        <translation>Distribution failed: %1</translation>
    </message>
</context>
<context>
    <name>FaxHistoryWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>检索条件</source>
        <translation>Search Criteria</translation>
    </message>
    <message>
        <source>用户:</source>
        <translation>User:</translation>
    </message>
    <message>
        <source>传真号码:</source>
        <translation>Fax Number:</translation>
    </message>
    <message>
        <source>时间:</source>
        <translation>Time:</translation>
    </message>
    <message>
        <source>至</source>
        <translation>to</translation>
    </message>
    <message>
        <source>发送记录</source>
        <translation>Sent</translation>
    </message>
    <message>
        <source>接收记录</source>
        <translation>Received</translation>
    </message>
    <message>
        <source>开始检索</source>
        <translation>Search</translation>
    </message>
    <message>
        <source>查看内容</source>
        <translation>View Content</translation>
    </message>
    <message>
        <source>彻底删除</source>
        <translation>Delete Permanently</translation>
    </message>
    <message>
        <source>失败</source>
        <translation>Failed</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Success</translation>
    </message>
    <message>
        <source>排队中</source>
        <translation>In queue</translation>
    </message>
    <message>
        <source>已停止</source>
        <translation>Stopped</translation>
    </message>
    <message>
        <source>未读</source>
        <translation>Unread</translation>
    </message>
    <message>
        <source>已读</source>
        <translation>Read</translation>
    </message>
    <message>
        <source>已回复</source>
        <translation>Replied</translation>
    </message>
    <message>
        <source>已转发</source>
        <translation>Forwarded</translation>
    </message>
    <message>
        <source>已打印</source>
        <translation>Printed</translation>
    </message>
    <message>
        <source>所有用户</source>
        <translation>All Users</translation>
    </message>
    <message>
        <source>方向</source>
        <translation>Direction</translation>
    </message>
    <message>
        <source>收件人</source>
        <translation>Recipient</translation>
    </message>
    <message>
        <source>发件人</source>
        <translation>Sender</translation>
    </message>
    <message>
        <source>传真号码</source>
        <translation>Fax number</translation>
    </message>
    <message>
        <source>时间</source>
        <translation>Time</translation>
    </message>
    <message>
        <source>耗时(秒)</source>
        <translation>Duration (s)</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>任务编号</source>
        <translation>Task ID</translation>
    </message>
    <message>
        <source>文件编号</source>
        <translation>File No.</translation>
    </message>
    <message>
        <source>服务器编号</source>
        <translation>Server No.</translation>
    </message>
    <message>
        <source>线路</source>
        <translation>Line</translation>
    </message>
    <message>
        <source>速度(bps)</source>
        <translation>Speed (bps)</translation>
    </message>
    <message>
        <source>接收</source>
        <translation>Receiving</translation>
    </message>
    <message>
        <source>发送</source>
        <translation>Sending</translation>
    </message>
    <message>
        <source>当前设置不允许彻底删除</source>
        <translation>The current settings do not allow permanent deletion</translation>
    </message>
    <message>
        <source>删除失败</source>
        <translation>Delete failed</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>FaxOptionDialog</name>
    <message>
        <source>传真选项</source>
        <translation>Fax Options</translation>
    </message>
    <message>
        <source>发送安排</source>
        <translation>Sending Schedule</translation>
    </message>
    <message>
        <source>发送时间不早于</source>
        <translation>Send not before</translation>
    </message>
    <message>
        <source>过期取消发送</source>
        <translation>Cancel sending after</translation>
    </message>
    <message>
        <source>允许发送的时段</source>
        <translation>Permitted sending hours</translation>
    </message>
    <message>
        <source>最大拨号次数</source>
        <translation>Most dial attempts</translation>
    </message>
    <message>
        <source>重试间隔时间(分钟)</source>
        <translation>Retry interval (minutes)</translation>
    </message>
    <message>
        <source>发送优先级</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>低</source>
        <translation>Low</translation>
    </message>
    <message>
        <source>普通</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>高</source>
        <translation>High</translation>
    </message>
    <message>
        <source>紧急</source>
        <translation>Critical</translation>
    </message>
    <message>
        <source>传真图文质量</source>
        <translation>Fax quality</translation>
    </message>
    <message>
        <source>普通(较快)</source>
        <translation>Normal (faster)</translation>
    </message>
    <message>
        <source>精细(较慢)</source>
        <translation>Fine (slower)</translation>
    </message>
    <message>
        <source>禁止服务器自动标注页眉</source>
        <translation>No page header by the server</translation>
    </message>
    <message>
        <source>禁止自动添加拨号前缀</source>
        <translation>No automatic dial prefix</translation>
    </message>
    <message>
        <source>保存为默认设置</source>
        <translation>Save as default</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>FaxPageWidget</name>
    <message>
        <source>传真封面</source>
        <translation>Fax Cover Page</translation>
    </message>
    <message>
        <source>添加封面</source>
        <translation>Add Cover</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>FaxQueueWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>停止发送</source>
        <translation>Stop Sending</translation>
    </message>
    <message>
        <source>查看内容</source>
        <translation>View Content</translation>
    </message>
    <message>
        <source>刷新</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>低</source>
        <translation>Low</translation>
    </message>
    <message>
        <source>普通</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>高</source>
        <translation>High</translation>
    </message>
    <message>
        <source>紧急</source>
        <translation>Critical</translation>
    </message>
    <message>
        <source>服务器</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>任务编号</source>
        <translation>Task ID</translation>
    </message>
    <message>
        <source>文件编号</source>
        <translation>File No.</translation>
    </message>
    <message>
        <source>发送优先级</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>传真号码</source>
        <translation>Fax number</translation>
    </message>
    <message>
        <source>收件人</source>
        <translation>Recipient</translation>
    </message>
    <message>
        <source>发件人</source>
        <translation>Sender</translation>
    </message>
    <message>
        <source>拨号重试</source>
        <translation>Dial attempts</translation>
    </message>
    <message>
        <source>发送时间</source>
        <translation>Send time</translation>
    </message>
    <message>
        <source>文字备注</source>
        <translation>Remarks</translation>
    </message>
</context>
<context>
    <name>FaxRows</name>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>将选中的传真（%1份）移到已删除的传真？</source>
        <translation>Move the selected faxes (%1) to Deleted Items?</translation>
    </message>
</context>
<context>
    <name>FaxSettingWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>线路1</source>
        <translation>Line 1</translation>
    </message>
    <message>
        <source>线路2</source>
        <translation>Line 2</translation>
    </message>
</context>
<context>
    <name>FaxStatus</name>
    <message>
        <source>发送失败</source>
        <translation>Send failed</translation>
    </message>
    <message>
        <source>发送成功</source>
        <translation>Sent</translation>
    </message>
    <message>
        <source>等待上传</source>
        <translation>Waiting for upload</translation>
    </message>
    <message>
        <source>正在上传</source>
        <translation>Uploading</translation>
    </message>
    <message>
        <source>排队中</source>
        <translation>In queue</translation>
    </message>
    <message>
        <source>发送中</source>
        <translation>Sending</translation>
    </message>
    <message>
        <source>已停止</source>
        <translation>Stopped</translation>
    </message>
    <message>
        <source>计划中</source>
        <translation>Planned</translation>
    </message>
    <message>
        <source>未读</source>
        <translation>Unread</translation>
    </message>
    <message>
        <source>已读</source>
        <translation>Read</translation>
    </message>
    <message>
        <source>已回复</source>
        <translation>Replied</translation>
    </message>
    <message>
        <source>已转发</source>
        <translation>Forwarded</translation>
    </message>
    <message>
        <source>已打印</source>
        <translation>Printed</translation>
    </message>
    <message>
        <source>低</source>
        <translation>Low</translation>
    </message>
    <message>
        <source>普通</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>高</source>
        <translation>High</translation>
    </message>
    <message>
        <source>紧急</source>
        <translation>Critical</translation>
    </message>
    <message>
        <source>正在拨号</source>
        <translation>Dialling</translation>
    </message>
    <message>
        <source>正在连接</source>
        <translation>Connecting</translation>
    </message>
    <message>
        <source>传真握手 %1</source>
        <translation>Fax handshake %1</translation>
    </message>
    <message>
        <source>已完成%1页%2%(共%3页)</source>
        <translation>Page %1 done, %2% (pages in all: %3)</translation>
    </message>
    <message>
        <source>上传结果未知</source>
        <translation>Upload result unknown</translation>
    </message>
    <message>
        <source>设备上已无此任务</source>
        <translation>Not on device</translation>
    </message>
    <message>
        <source>接收失败</source>
        <translation>Receive failed</translation>
    </message>
</context>
<context>
    <name>FaxTray</name>
    <message>
        <source>Velkor：没有未读传真</source>
        <translation>Velkor: no unread faxes</translation>
    </message>
    <message>
        <source>Velkor：未读传真 %1 份</source>
        <translation>Velkor: unread faxes: %1</translation>
    </message>
    <message>
        <source>新建传真</source>
        <translation>New Fax</translation>
    </message>
    <message>
        <source>收件箱</source>
        <translation>Inbox</translation>
    </message>
    <message>
        <source>退出</source>
        <translation>Exit</translation>
    </message>
    <message>
        <source>页数：%1</source>
        <translation>Pages: %1</translation>
    </message>
    <message>
        <source>来自 %1，页数：%2</source>
        <translation>From %1, pages: %2</translation>
    </message>
    <message>
        <source>新传真</source>
        <translation>New fax</translation>
    </message>
</context>
<context>
    <name>FirmwareUpgradeWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>固件升级</source>
        <translation>Firmware Upgrade</translation>
    </message>
    <message>
        <source>更新文件:</source>
        <translation>Update file:</translation>
    </message>
    <message>
        <source>请选择系统更新文件</source>
        <translation>Select the system update file</translation>
    </message>
    <message>
        <source>浏览...</source>
        <translation>Browse...</translation>
    </message>
    <message>
        <source>开始更新</source>
        <translation>Start Update</translation>
    </message>
    <message>
        <source>重启服务器</source>
        <translation>Restart Server</translation>
    </message>
    <message>
        <source>选择文件</source>
        <translation>Select File</translation>
    </message>
    <message>
        <source>更新文件上传成功，服务器已关闭服务器进行更新工作，整个过程需时约3分钟。更新完成后服务器将自动重新开启服务，期间请保证服务器电源稳定。</source>
        <translation>The update file was uploaded. The server has stopped its services to install the update, which takes about 3 minutes. It will restart its services by itself when done; please keep its power supply stable meanwhile.</translation>
    </message>
    <message>
        <source>此操作将影响当前用户工作数据,并且服务器将重新启动，您确定要继续吗?</source>
        <translation>This affects the work of current users and restarts the server. Do you want to continue?</translation>
    </message>
    <message>
        <source>更新失败：%1</source>
        <translation>Update failed: %1</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>HighOptionWidget</name>
    <message>
        <source>设备高级参数</source>
        <translation>Advanced Device Parameters</translation>
    </message>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>应用修改</source>
        <translation>Apply Changes</translation>
    </message>
    <message>
        <source>修改高级参数设置成功</source>
        <translation>Advanced parameters changed</translation>
    </message>
    <message>
        <source>修改高级参数设置失败</source>
        <translation>Changing the advanced parameters failed</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>InputDeviceInfoDialog</name>
    <message>
        <source>添加设备</source>
        <translation>Add a Device</translation>
    </message>
    <message>
        <source>请输入设备账号和密码</source>
        <translation>Please enter device account and password</translation>
    </message>
    <message>
        <source>设备账号</source>
        <translation>Device Account</translation>
    </message>
    <message>
        <source>设备密码</source>
        <translation>Device Password</translation>
    </message>
</context>
<context>
    <name>LoginThread</name>
    <message>
        <source>无法连接设备</source>
        <translation>Cannot connect to the device</translation>
    </message>
    <message>
        <source>设备ID不匹配</source>
        <translation>Device ID mismatch</translation>
    </message>
    <message>
        <source>设备使用权限验证失败</source>
        <translation>Verification of the right to use the device failed</translation>
    </message>
</context>
<context>
    <name>LoginWidget</name>
    <message>
        <source>本地账户登录</source>
        <translation>Local Account Login</translation>
    </message>
    <message>
        <source>账户</source>
        <translation>Account</translation>
    </message>
    <message>
        <source>密码</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>记住密码</source>
        <translation>Remember Password</translation>
    </message>
    <message>
        <source>自动登录</source>
        <translation>Log in Automatically</translation>
    </message>
    <message>
        <source>登录</source>
        <translation>Log In</translation>
    </message>
    <message>
        <source>创建本地账户</source>
        <translation>Create Local Account</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Language</translation>
    </message>
    <message>
        <source>帐号或密码错误，请重新输入</source>
        <translation>Account or password incorrect. Please try again.</translation>
    </message>
</context>
<context>
    <name>LoginWindow</name>
    <message>
        <source>Velkor自动传真系统</source>
        <translation>Velkor Automatic Fax System</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Velkor自动传真系统</source>
        <translation>Velkor Automatic Fax System</translation>
    </message>
    <message>
        <source>传真文件夹</source>
        <translation>Faxes Folder</translation>
    </message>
    <message>
        <source>收件箱</source>
        <translation>Inbox</translation>
    </message>
    <message>
        <source>发件箱</source>
        <translation>Outbox</translation>
    </message>
    <message>
        <source>已删除的传真</source>
        <translation>Recycle Bin</translation>
    </message>
    <message>
        <source>传真</source>
        <translation>File</translation>
    </message>
    <message>
        <source>新建传真</source>
        <translation>New Fax</translation>
    </message>
    <message>
        <source>用户选项</source>
        <translation>Options</translation>
    </message>
    <message>
        <source>帮助</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>工具栏</source>
        <translation>Toolbar</translation>
    </message>
    <message>
        <source>添加设备</source>
        <translation>Add a Device</translation>
    </message>
    <message>
        <source>退出登陆</source>
        <translation>Log Out</translation>
    </message>
    <message>
        <source>退出</source>
        <translation>Exit</translation>
    </message>
    <message>
        <source>文件传真</source>
        <translation>Fax a File</translation>
    </message>
    <message>
        <source>来自文件</source>
        <translation>From File</translation>
    </message>
    <message>
        <source>回复</source>
        <translation>Reply</translation>
    </message>
    <message>
        <source>转发</source>
        <translation>Forward</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>语言</source>
        <translation>Language</translation>
    </message>
    <message>
        <source>打印</source>
        <translation>Print</translation>
    </message>
    <message>
        <source>我的设备</source>
        <translation>My Devices</translation>
    </message>
    <message>
        <source>另存为</source>
        <translation>Save As</translation>
    </message>
    <message>
        <source>服务器信息</source>
        <translation>Server Information</translation>
    </message>
    <message>
        <source>关于Velkor</source>
        <translation>About Velkor</translation>
    </message>
    <message>
        <source>通讯簿</source>
        <translation>Address Book</translation>
    </message>
    <message>
        <source>传真自动输出</source>
        <translation>Automatic Fax Output</translation>
    </message>
    <message>
        <source>签章库</source>
        <translation>Signature Library</translation>
    </message>
    <message>
        <source>程序选项</source>
        <translation>Options</translation>
    </message>
    <message>
        <source>打开</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>无法写入文件 %1</source>
        <translation>Cannot write the file %1</translation>
    </message>
    <message>
        <source>%1 (%2)
局域网地址: %3  互联网地址: %4</source>
        <translation>%1 (%2)
LAN address: %3  Internet address: %4</translation>
    </message>
    <message>
        <source>尚未绑定设备。</source>
        <translation>No device is bound yet.</translation>
    </message>
    <message>
        <source>Velkor自动传真系统 %1
网络传真服务器的桌面客户端。</source>
        <translation>Velkor Automatic Fax System %1
The desktop client of a networked fax server.</translation>
    </message>
    <message>
        <source>打印到传真的文档</source>
        <translation>Documents printed to fax</translation>
    </message>
    <message>
        <source>还有%1份传真没有上传完。现在结束，它们将停在“等待上传”，下次登录后可用“开始上传”发送。
确定结束吗？</source>
        <translation>Faxes not yet uploaded: %1. If you end now they stay "Waiting for upload" and can be sent with "Start Upload" after the next login.
End anyway?</translation>
    </message>
    <message>
        <source>无法读取传真文件：%1</source>
        <translation>Cannot read the fax file: %1</translation>
    </message>
    <message>
        <source>已保存为 %1</source>
        <translation>Saved as %1</translation>
    </message>
</context>
<context>
    <name>ManualAssignWidget</name>
    <message>
        <source>设备ID或IP地址</source>
        <translation>Device ID or IP address</translation>
    </message>
    <message>
        <source>设备账号</source>
        <translation>Device Account</translation>
    </message>
    <message>
        <source>设备密码</source>
        <translation>Device Password</translation>
    </message>
    <message>
        <source>验证</source>
        <translation>Verify</translation>
    </message>
</context>
<context>
    <name>MyImageViewer</name>
    <message>
        <source>上一页</source>
        <translation>Previous page</translation>
    </message>
    <message>
        <source>下一页</source>
        <translation>Next page</translation>
    </message>
    <message>
        <source>放大</source>
        <translation>Zoom in</translation>
    </message>
    <message>
        <source>缩小</source>
        <translation>Zoom out</translation>
    </message>
    <message>
        <source>向左旋转</source>
        <translation>Rotate left</translation>
    </message>
    <message>
        <source>向右旋转</source>
        <translation>Rotate right</translation>
    </message>
    <message>
        <source>打开TIFF文件失败</source>
        <translation>Failed to open the TIFF file</translation>
    </message>
    <message>
        <source>适合页面</source>
        <translation>Fit Page</translation>
    </message>
    <message>
        <source>整页</source>
        <translation>Page</translation>
    </message>
    <message>
        <source>适合宽度</source>
        <translation>Fit Width</translation>
    </message>
    <message>
        <source>页宽</source>
        <translation>Width</translation>
    </message>
</context>
<context>
    <name>MyThread</name>
    <message>
        <source>OCR识别失败</source>
        <translation>Text recognition failed</translation>
    </message>
</context>
<context>
    <name>NetworkSettingWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>网络设置</source>
        <translation>Network Settings</translation>
    </message>
    <message>
        <source>Mac地址:</source>
        <translation>MAC address:</translation>
    </message>
    <message>
        <source>手工指定</source>
        <translation>Set manually</translation>
    </message>
    <message>
        <source>从DHCP获取</source>
        <translation>Obtain from DHCP</translation>
    </message>
    <message>
        <source>IP地址:</source>
        <translation>IP address:</translation>
    </message>
    <message>
        <source>IP地址2:</source>
        <translation>IP address 2:</translation>
    </message>
    <message>
        <source>IP地址3:</source>
        <translation>IP address 3:</translation>
    </message>
    <message>
        <source>子网掩码:</source>
        <translation>Subnet mask:</translation>
    </message>
    <message>
        <source>路由器:</source>
        <translation>Router:</translation>
    </message>
    <message>
        <source>DNS:</source>
        <translation>DNS:</translation>
    </message>
    <message>
        <source>Internet状态:</source>
        <translation>Internet status:</translation>
    </message>
    <message>
        <source>若客户端无法重新连接则放弃修改</source>
        <translation>Discard the change if the client cannot reconnect</translation>
    </message>
    <message>
        <source>应用修改</source>
        <translation>Apply Changes</translation>
    </message>
    <message>
        <source>修改网咯参数设置成功</source>
        <translation>The network settings were changed.</translation>
    </message>
    <message>
        <source>修改网咯参数设置失败</source>
        <translation>The network settings could not be changed.</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>OCRDialog</name>
    <message>
        <source>OCR识别</source>
        <translation>OCR</translation>
    </message>
</context>
<context>
    <name>OCRUtil</name>
    <message>
        <source>未设置OCR识别程序，请在UserConfig.ini的ocrProgram项中填写它的路径。</source>
        <translation>No OCR program is set. Enter its path as ocrProgram in UserConfig.ini.</translation>
    </message>
    <message>
        <source>找不到OCR识别程序：%1</source>
        <translation>OCR program not found: %1</translation>
    </message>
    <message>
        <source>无法启动OCR识别程序：%1</source>
        <translation>Could not start the OCR program: %1</translation>
    </message>
</context>
<context>
    <name>PrintJobsDialog</name>
    <message>
        <source>打开</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>打印到传真的文档</source>
        <translation>Documents printed to fax</translation>
    </message>
    <message>
        <source>(无标题)</source>
        <translation>(untitled)</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>删除打印的文档“%1”？</source>
        <translation>Delete the printed document "%1"?</translation>
    </message>
    <message>
        <source>无法删除 %1</source>
        <translation>Cannot delete %1</translation>
    </message>
</context>
<context>
    <name>QAdvancedPixmap</name>
    <message>
        <source>请输入...</source>
        <translation>Please enter...</translation>
    </message>
</context>
<context>
    <name>ReceiveBoxWidget</name>
    <message>
        <source>状态</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>来电号码</source>
        <translation>Caller ID</translation>
    </message>
    <message>
        <source>来自</source>
        <translation>From</translation>
    </message>
    <message>
        <source>页数</source>
        <translation>Page(s)</translation>
    </message>
    <message>
        <source>接收时间</source>
        <translation>Receive Time</translation>
    </message>
    <message>
        <source>文字备注</source>
        <translation>Remarks</translation>
    </message>
    <message>
        <source>服务器</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>收到%1份传真</source>
        <translation>Faxes received: %1</translation>
    </message>
    <message>
        <source>回复</source>
        <translation>Reply</translation>
    </message>
    <message>
        <source>转发</source>
        <translation>Forward</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>内部分发</source>
        <translation>Internal Distribution</translation>
    </message>
    <message>
        <source>添加备注</source>
        <translation>Add Remark</translation>
    </message>
    <message>
        <source>保存为联系人</source>
        <translation>Save as Contact</translation>
    </message>
    <message>
        <source>OCR识别</source>
        <translation>OCR</translation>
    </message>
    <message>
        <source>标记为已读</source>
        <translation>Mark as Read</translation>
    </message>
    <message>
        <source>标记为未读</source>
        <translation>Mark as Unread</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Retry</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>接收的传真无法保存到 %1：请检查磁盘空间和文件夹的写入权限。
传真仍保留在设备上，问题解决后会自动接收。</source>
        <translation>Received faxes cannot be saved to %1: check the free disk space and the folder's write permission.
The faxes stay on the device and are received once this is fixed.</translation>
    </message>
</context>
<context>
    <name>ReceiveFaxThread</name>
    <message>
        <source>[ %1 ]正在接收%2 % (剩余%3份)</source>
        <translation>[ %1 ] Receiving %2 % (%3 remaining)</translation>
    </message>
</context>
<context>
    <name>SelectContactDialog</name>
    <message>
        <source>选择收件人</source>
        <translation>Select recipients</translation>
    </message>
    <message>
        <source>通讯簿：</source>
        <translation>Address book:</translation>
    </message>
    <message>
        <source>搜索联系人</source>
        <translation>Search contacts</translation>
    </message>
    <message>
        <source>传真收件人：</source>
        <translation>Fax recipients:</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>联系人</source>
        <translation>Contact</translation>
    </message>
    <message>
        <source>传真号码</source>
        <translation>Fax number</translation>
    </message>
    <message>
        <source>全部联系人</source>
        <translation>All contacts</translation>
    </message>
</context>
<context>
    <name>SelectDeviceWidget</name>
    <message>
        <source>选择传真设备</source>
        <translation>Choose Fax Device</translation>
    </message>
    <message>
        <source>请选择一台传真设备进行发送</source>
        <translation>Choose a fax device for sending</translation>
    </message>
    <message>
        <source>发送传真</source>
        <translation>Send Fax</translation>
    </message>
</context>
<context>
    <name>SelectLanguageDialog</name>
    <message>
        <source>程序语言</source>
        <translation>Application Language</translation>
    </message>
    <message>
        <source>请选择一种语言</source>
        <translation>Please choose a language</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>SendBoxWidget</name>
    <message>
        <source>%1次(%2次)</source>
        <translation>Attempts: %1 (%2)</translation>
    </message>
    <message>
        <source>状态</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>任务编号</source>
        <translation>Task ID</translation>
    </message>
    <message>
        <source>优先级</source>
        <translation>Priority</translation>
    </message>
    <message>
        <source>传真号码</source>
        <translation>Fax number</translation>
    </message>
    <message>
        <source>发送到</source>
        <translation>Send To</translation>
    </message>
    <message>
        <source>已发页数</source>
        <translation>Page(s) Sent</translation>
    </message>
    <message>
        <source>拨号重试</source>
        <translation>Dial attempts</translation>
    </message>
    <message>
        <source>发送时间</source>
        <translation>Send time</translation>
    </message>
    <message>
        <source>文字备注</source>
        <translation>Remarks</translation>
    </message>
    <message>
        <source>失败原因</source>
        <translation>Failure Issue</translation>
    </message>
    <message>
        <source>服务器</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>已完成%1页(共%2页)</source>
        <translation>Pages done: %1 of %2</translation>
    </message>
    <message>
        <source>转发</source>
        <translation>Forward</translation>
    </message>
    <message>
        <source>重试</source>
        <translation>Retry</translation>
    </message>
    <message>
        <source>删除</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>添加备注</source>
        <translation>Add Remark</translation>
    </message>
    <message>
        <source>内部分发</source>
        <translation>Internal Distribution</translation>
    </message>
    <message>
        <source>开始上传</source>
        <translation>Start Upload</translation>
    </message>
    <message>
        <source>保存为联系人</source>
        <translation>Save as Contact</translation>
    </message>
    <message>
        <source>传真发送报告</source>
        <translation>Fax Transmission Report</translation>
    </message>
    <message>
        <source>报告时间:</source>
        <translation>Report time:</translation>
    </message>
    <message>
        <source>PID:</source>
        <translation>PID:</translation>
    </message>
    <message>
        <source>TID:</source>
        <translation>TID:</translation>
    </message>
    <message>
        <source>发送时间:</source>
        <translation>Send time:</translation>
    </message>
    <message>
        <source>收件人:</source>
        <translation>Recipient:</translation>
    </message>
    <message>
        <source>传真号码:</source>
        <translation>Fax Number:</translation>
    </message>
    <message>
        <source>耗时:</source>
        <translation>Duration:</translation>
    </message>
    <message>
        <source>%1秒</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>发送页数:</source>
        <translation>Pages sent:</translation>
    </message>
    <message>
        <source>%1(共%2页)</source>
        <translation>%1 (pages in all: %2)</translation>
    </message>
    <message>
        <source>结果:</source>
        <translation>Result:</translation>
    </message>
    <message>
        <source>成功</source>
        <translation>Success</translation>
    </message>
    <message>
        <source>无法查看设备的传真队列（此账号可能没有权限），不能确认发往 %1 的传真是否已在设备上。再次上传可能使对方收到两份。
仍要再次上传吗？</source>
        <translation>The device's fax queue cannot be read (this account may not be allowed to), so it is not known whether the fax to %1 is already on the device. Uploading it again may deliver it twice.
Upload it again anyway?</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>暂停发送</source>
        <translation>Pause Sending</translation>
    </message>
    <message>
        <source>暂停发送到 %1 的传真（任务编号 %2）？
暂停后可用“重试”继续发送。</source>
        <translation>Pause sending the fax to %1 (task %2)?
Use "Retry" to send it on later.</translation>
    </message>
</context>
<context>
    <name>SettingDialog</name>
    <message>
        <source>程序选项</source>
        <translation>Options</translation>
    </message>
    <message>
        <source>传真提醒</source>
        <translation>New Fax Check</translation>
    </message>
    <message>
        <source>秒获取新传真</source>
        <translation>seconds to fetch new faxes</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>外部程序与服务</source>
        <translation>External Programs and Services</translation>
    </message>
    <message>
        <source>OCR识别程序:</source>
        <translation>OCR program:</translation>
    </message>
    <message>
        <source>程序路径或名称</source>
        <translation>Program path or name</translation>
    </message>
    <message>
        <source>日志查看程序:</source>
        <translation>Log viewer:</translation>
    </message>
    <message>
        <source>默认: gedit 或系统默认程序 (%1 代表日志文件)</source>
        <translation>Default: gedit or the desktop default (%1 stands for the log file)</translation>
    </message>
    <message>
        <source>远程地址服务:</source>
        <translation>Remote address service:</translation>
    </message>
    <message>
        <source>http(s)://... (空则不使用)</source>
        <translation>http(s)://... (empty: not used)</translation>
    </message>
    <message>
        <source>关闭主窗口时最小化到托盘</source>
        <translation>Minimize to the tray when the main window is closed</translation>
    </message>
    <message>
        <source>PDF 文件按传真分辨率 (204 x 196 dpi) 直接转换，笔画更清晰</source>
        <translation>Convert PDF files directly at fax resolution (204 x 196 dpi) for sharper strokes</translation>
    </message>
</context>
<context>
    <name>SettingLoad</name>
    <message>
        <source>未能读取设备的当前设置，“应用”已停用。请检查设备后重新打开此页。</source>
        <translation>The current settings could not be read from the device, so "Apply" is disabled. Check the device and open this page again.</translation>
    </message>
</context>
<context>
    <name>SignatureLibDialog</name>
    <message>
        <source>签章库</source>
        <translation>Signature Library</translation>
    </message>
    <message>
        <source>双击一个签名，将其盖在页面上</source>
        <translation>Double-click a signature to stamp it on the page</translation>
    </message>
    <message>
        <source>从文件导入</source>
        <translation>Import from File</translation>
    </message>
    <message>
        <source>删除选择</source>
        <translation>Delete Selection</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>选择图片</source>
        <translation>Choose Picture</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>无法读取图片：%1</source>
        <translation>Cannot read the picture: %1</translation>
    </message>
</context>
<context>
    <name>TextNoteWidget</name>
    <message>
        <source>完成</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>请输入...</source>
        <translation>Please enter...</translation>
    </message>
</context>
<context>
    <name>TimeZoneWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>服务器时间</source>
        <translation>Device Time</translation>
    </message>
    <message>
        <source>日期时间:</source>
        <translation>Date and time:</translation>
    </message>
    <message>
        <source>自动刷新</source>
        <translation>Refresh automatically</translation>
    </message>
    <message>
        <source>时区:</source>
        <translation>Time zone:</translation>
    </message>
    <message>
        <source>FSK时间同步</source>
        <translation>FSK time sync</translation>
    </message>
    <message>
        <source>应用修改</source>
        <translation>Apply Changes</translation>
    </message>
    <message>
        <source>UTC+00:00 都柏林</source>
        <translation>UTC+00:00 Dublin</translation>
    </message>
    <message>
        <source>UTC+01:00 英国</source>
        <translation>UTC+01:00 United Kingdom</translation>
    </message>
    <message>
        <source>UTC+02:00 法国</source>
        <translation>UTC+02:00 France</translation>
    </message>
    <message>
        <source>UTC+03:00 莫斯科</source>
        <translation>UTC+03:00 Moscow</translation>
    </message>
    <message>
        <source>UTC+03:30 英国</source>
        <translation>UTC+03:30 United Kingdom</translation>
    </message>
    <message>
        <source>UTC+04:00 阿塞拜疆</source>
        <translation>UTC+04:00 Azerbaijan</translation>
    </message>
    <message>
        <source>UTC+04:30 阿富汗,伊朗</source>
        <translation>UTC+04:30 Afghanistan, Iran</translation>
    </message>
    <message>
        <source>UTC+05:00 莫森</source>
        <translation>UTC+05:00 Mawson</translation>
    </message>
    <message>
        <source>UTC+05:45 尼泊尔</source>
        <translation>UTC+05:45 Nepal</translation>
    </message>
    <message>
        <source>UTC+06:00 沃斯托克</source>
        <translation>UTC+06:00 Vostok</translation>
    </message>
    <message>
        <source>UTC+06:30 缅甸</source>
        <translation>UTC+06:30 Myanmar</translation>
    </message>
    <message>
        <source>UTC+07:00 泰国</source>
        <translation>UTC+07:00 Thailand</translation>
    </message>
    <message>
        <source>UTC+08:00 中国大陆,香港</source>
        <translation>UTC+08:00 Mainland China, Hong Kong</translation>
    </message>
    <message>
        <source>UTC+08:45 尤克拉</source>
        <translation>UTC+08:45 Eucla</translation>
    </message>
    <message>
        <source>UTC+09:00 日本,韩国</source>
        <translation>UTC+09:00 Japan, Korea</translation>
    </message>
    <message>
        <source>UTC+09:30 阿德莱德</source>
        <translation>UTC+09:30 Adelaide</translation>
    </message>
    <message>
        <source>UTC+10:00 悉尼</source>
        <translation>UTC+10:00 Sydney</translation>
    </message>
    <message>
        <source>UTC+10:30 豪勋爵</source>
        <translation>UTC+10:30 Lord Howe</translation>
    </message>
    <message>
        <source>UTC+11:00 麦格理</source>
        <translation>UTC+11:00 Macquarie</translation>
    </message>
    <message>
        <source>UTC+12:00 麦克默多,新西兰</source>
        <translation>UTC+12:00 McMurdo, New Zealand</translation>
    </message>
    <message>
        <source>UTC+12:45 查塔姆</source>
        <translation>UTC+12:45 Chatham</translation>
    </message>
    <message>
        <source>UTC+13:00 萨摩亚</source>
        <translation>UTC+13:00 Samoa</translation>
    </message>
    <message>
        <source>UTC+14::00 基里地马地岛</source>
        <translation>UTC+14:00 Kiritimati</translation>
    </message>
    <message>
        <source>UTC-01:00 佛得角</source>
        <translation>UTC-01:00 Cape Verde</translation>
    </message>
    <message>
        <source>UTC-02:00 努克</source>
        <translation>UTC-02:00 Nuuk</translation>
    </message>
    <message>
        <source>UTC-03:00 阿拉瓜</source>
        <translation>UTC-03:00 Araguaina</translation>
    </message>
    <message>
        <source>UTC-04:00 纽约</source>
        <translation>UTC-04:00 New York</translation>
    </message>
    <message>
        <source>UTC-05:00 哥伦比亚</source>
        <translation>UTC-05:00 Colombia</translation>
    </message>
    <message>
        <source>UTC-06:00 伯利兹</source>
        <translation>UTC-06:00 Belize</translation>
    </message>
    <message>
        <source>UTC-07:00 克雷斯顿</source>
        <translation>UTC-07:00 Creston</translation>
    </message>
    <message>
        <source>UTC-08:00 安克雷奇</source>
        <translation>UTC-08:00 Anchorage</translation>
    </message>
    <message>
        <source>UTC-09:00 埃达克</source>
        <translation>UTC-09:00 Adak</translation>
    </message>
    <message>
        <source>UTC-09:30 马克萨斯</source>
        <translation>UTC-09:30 Marquesas</translation>
    </message>
    <message>
        <source>UTC-10:00 檀香山</source>
        <translation>UTC-10:00 Honolulu</translation>
    </message>
    <message>
        <source>UTC-11:00 中途岛</source>
        <translation>UTC-11:00 Midway</translation>
    </message>
    <message>
        <source>服务器时间设置修改成功</source>
        <translation>The device time was changed.</translation>
    </message>
    <message>
        <source>服务器时间设置修改失败</source>
        <translation>The device time could not be changed.</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
</context>
<context>
    <name>UserAccountWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>用户名:</source>
        <translation>User name:</translation>
    </message>
    <message>
        <source>密码:</source>
        <translation>Password:</translation>
    </message>
    <message>
        <source>分机号码:</source>
        <translation>Extension:</translation>
    </message>
    <message>
        <source>用户权限</source>
        <translation>User Rights</translation>
    </message>
    <message>
        <source>管理员</source>
        <translation>Administrator</translation>
    </message>
    <message>
        <source>分发员</source>
        <translation>Distributor</translation>
    </message>
    <message>
        <source>发传真</source>
        <translation>Send faxes</translation>
    </message>
    <message>
        <source>收传真</source>
        <translation>Receive faxes</translation>
    </message>
    <message>
        <source>远程登录</source>
        <translation>Remote login</translation>
    </message>
    <message>
        <source>传真转Email</source>
        <translation>Fax to e-mail</translation>
    </message>
    <message>
        <source>用户传真转Email选项</source>
        <translation>Forwarding of the User's Faxes by E-mail</translation>
    </message>
    <message>
        <source>转发条件:</source>
        <translation>Forward:</translation>
    </message>
    <message>
        <source>不转发</source>
        <translation>Never</translation>
    </message>
    <message>
        <source>不在线时转发</source>
        <translation>When offline</translation>
    </message>
    <message>
        <source>总是转发</source>
        <translation>Always</translation>
    </message>
    <message>
        <source>接收邮箱:</source>
        <translation>Recipient address:</translation>
    </message>
    <message>
        <source>SMTP设置:</source>
        <translation>SMTP settings:</translation>
    </message>
    <message>
        <source>使用公共SMTP设置</source>
        <translation>Use the public SMTP settings</translation>
    </message>
    <message>
        <source>自定义</source>
        <translation>Custom</translation>
    </message>
    <message>
        <source>SMTP服务器:</source>
        <translation>SMTP server:</translation>
    </message>
    <message>
        <source>SMTP用户名:</source>
        <translation>SMTP user name:</translation>
    </message>
    <message>
        <source>SMTP密码:</source>
        <translation>SMTP password:</translation>
    </message>
    <message>
        <source>发送邮箱地址:</source>
        <translation>Sender address:</translation>
    </message>
    <message>
        <source>添加用户</source>
        <translation>Add User</translation>
    </message>
    <message>
        <source>删除用户</source>
        <translation>Delete User</translation>
    </message>
    <message>
        <source>应用修改</source>
        <translation>Apply Changes</translation>
    </message>
    <message>
        <source>取消</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>确定</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>用户信息修改失败</source>
        <translation>The user account could not be saved.</translation>
    </message>
    <message>
        <source>用户信息修改成功</source>
        <translation>The user account was saved.</translation>
    </message>
    <message>
        <source>留空则保持设备上的密码</source>
        <translation>Leave empty to keep the device's password</translation>
    </message>
    <message>
        <source>请为新用户输入密码</source>
        <translation>Enter a password for the new user</translation>
    </message>
    <message>
        <source>Velkor 消息</source>
        <translation>Velkor Message</translation>
    </message>
    <message>
        <source>添加用户失败</source>
        <translation>The user could not be added</translation>
    </message>
    <message>
        <source>添加成功</source>
        <translation>User added</translation>
    </message>
</context>
<context>
    <name>VersionStatusWidget</name>
    <message>
        <source>正在与设备通信，请稍候...</source>
        <translation>Communicating with the device, please wait...</translation>
    </message>
    <message>
        <source>版本与状态</source>
        <translation>Version and Status</translation>
    </message>
    <message>
        <source>硬件版本：</source>
        <translation>Hardware version:</translation>
    </message>
    <message>
        <source>BIOS版本：</source>
        <translation>BIOS version:</translation>
    </message>
    <message>
        <source>系统版本：</source>
        <translation>System version:</translation>
    </message>
    <message>
        <source>软件版本：</source>
        <translation>Software version:</translation>
    </message>
    <message>
        <source>传真固件：</source>
        <translation>Fax firmware:</translation>
    </message>
    <message>
        <source>发布时间：</source>
        <translation>Release date:</translation>
    </message>
    <message>
        <source>存储空间：</source>
        <translation>Storage:</translation>
    </message>
    <message>
        <source>来电制式：</source>
        <translation>Caller ID type:</translation>
    </message>
    <message>
        <source>线路状态：</source>
        <translation>Line status:</translation>
    </message>
    <message>
        <source>刷新</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>线路1:</source>
        <translation>Line 1:</translation>
    </message>
    <message>
        <source>线路2:</source>
        <translation>Line 2:</translation>
    </message>
    <message>
        <source>未知:</source>
        <translation>Unknown:</translation>
    </message>
    <message>
        <source>空闲</source>
        <translation>Idle</translation>
    </message>
    <message>
        <source>发送中</source>
        <translation>Sending</translation>
    </message>
    <message>
        <source>接受中</source>
        <translation>Receiving</translation>
    </message>
    <message>
        <source>正在振铃</source>
        <translation>Ringing</translation>
    </message>
    <message>
        <source>已摘机</source>
        <translation>Off hook</translation>
    </message>
    <message>
        <source>断开</source>
        <translation>Disconnected</translation>
    </message>
    <message>
        <source>总大小:%1MB 剩余:%2MB</source>
        <translation>Total: %1 MB  Free: %2 MB</translation>
    </message>
</context>
<context>
    <name>VoiceMonitorDialog</name>
    <message>
        <source>设备语音监听</source>
        <translation>Device Voice Monitor</translation>
    </message>
    <message>
        <source>未监听</source>
        <translation>Not listening</translation>
    </message>
    <message>
        <source>开始监听</source>
        <translation>Start Listening</translation>
    </message>
    <message>
        <source>停止监听</source>
        <translation>Stop Listening</translation>
    </message>
</context>
</TS>