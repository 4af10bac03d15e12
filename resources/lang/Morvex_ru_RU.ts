<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU">
<context>
    <name>AppUpdater</name>
    <message>
        <source>AppImage is corrupted - root directory variable is not set.
Aboriting update</source>
        <translation>AppImage повреждён: не задана переменная корневого каталога.
Обновление прервано</translation>
    </message>
    <message>
        <source>AppImage is corrupted - updater script is missing.
Aboriting update</source>
        <translation>AppImage повреждён: отсутствует сценарий обновления.
Обновление прервано</translation>
    </message>
    <message>
        <source>AppImage is corrupted - zsync_curl is missing.
Aboriting update</source>
        <translation>AppImage повреждён: отсутствует zsync_curl.
Обновление прервано</translation>
    </message>
    <message>
        <source>appupdateimage process failed to start</source>
        <translation>Не удалось запустить процесс appupdateimage</translation>
    </message>
    <message>
        <source>Update progress</source>
        <translation>Ход обновления</translation>
    </message>
    <message>
        <source>Error: </source>
        <translation>Ошибка: </translation>
    </message>
    <message>
        <source>Application has been updated and will now be closed.</source>
        <translation>Приложение обновлено и сейчас будет закрыто.</translation>
    </message>
</context>
<context>
    <name>CodeEditor</name>
    <message>
        <source>Save As</source>
        <translation>Сохранить как</translation>
    </message>
    <message>
        <source>Close without Saving</source>
        <translation>Закрыть без сохранения</translation>
    </message>
    <message>
        <source>Save &amp;&amp; Upload</source>
        <translation>Сохранить и загрузить</translation>
    </message>
    <message>
        <source>Code Editor</source>
        <translation>Редактор кода</translation>
    </message>
    <message>
        <source>Looks like this is a binary file. Switching to read-only mode.</source>
        <translation>Похоже, это двоичный файл. Включён режим только для чтения.</translation>
    </message>
    <message>
        <source>Cannot read %1: %2</source>
        <translation>Не удаётся прочитать %1: %2</translation>
    </message>
    <message>
        <source>Cannot write to %1: %2</source>
        <translation>Не удаётся записать в %1: %2</translation>
    </message>
    <message>
        <source>File %1 cannot be written</source>
        <translation>Не удаётся записать файл %1</translation>
    </message>
    <message>
        <source>The edited data is not a valid JSON document. Proceed?&lt;br&gt;Error: %1</source>
        <translation>Отредактированные данные не являются корректным документом JSON. Продолжить?&lt;br&gt;Ошибка: %1</translation>
    </message>
</context>
<context>
    <name>ConnectionPopup</name>
    <message>
        <source>Frame</source>
        <translation>Рамка</translation>
    </message>
    <message>
        <source>%1 — %2 (%3)</source>
        <comment>port name, description, manufacturer</comment>
        <translation>%1 — %2 (%3)</translation>
    </message>
    <message>
        <source>%1 — %2</source>
        <comment>port name, description or manufacturer</comment>
        <translation>%1 — %2</translation>
    </message>
    <message>
        <source>VID:PID %1:%2</source>
        <translation>VID:PID %1:%2</translation>
    </message>
    <message>
        <source>Serial number: %1</source>
        <translation>Серийный номер: %1</translation>
    </message>
    <message>
        <source>Device: %1</source>
        <translation>Устройство: %1</translation>
    </message>
</context>
<context>
    <name>FeedUpdater</name>
    <message>
        <source>&lt;p&gt;%1 %2 is available; you are running %3.&lt;/p&gt;&lt;p&gt;&lt;a href=&quot;%4&quot;&gt;Release notes&lt;/a&gt;&lt;/p&gt;</source>
        <translation>&lt;p&gt;Доступна версия %1 %2; у вас установлена %3.&lt;/p&gt;&lt;p&gt;&lt;a href=&quot;%4&quot;&gt;Что нового&lt;/a&gt;&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;%1 %2 is available; you are running %3.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Доступна версия %1 %2; у вас установлена %3.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;You are running the newest version of %1 (%2).&lt;/p&gt;</source>
        <translation>&lt;p&gt;У вас установлена самая новая версия %1 (%2).&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;The update feed %1 could not be read:&lt;/p&gt;&lt;p&gt;%2&lt;/p&gt;</source>
        <translation>&lt;p&gt;Не удалось прочитать ленту обновлений %1:&lt;/p&gt;&lt;p&gt;%2&lt;/p&gt;</translation>
    </message>
    <message>
        <source>&lt;p&gt;The update feed %1 is not an appcast that names a version.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Лента обновлений %1 не является лентой appcast с номером версии.&lt;/p&gt;</translation>
    </message>
    <message>
        <source>Check for Updates</source>
        <translation>Проверка обновлений</translation>
    </message>
</context>
<context>
    <name>InstallPackageDialog</name>
    <message>
        <source>Install Package</source>
        <translation>Установка пакета</translation>
    </message>
    <message>
        <source>Package:</source>
        <translation>Пакет:</translation>
    </message>
    <message>
        <source>name, URL or github:org/repo</source>
        <translation>имя, URL или github:org/repo</translation>
    </message>
    <message>
        <source>Version:</source>
        <translation>Версия:</translation>
    </message>
    <message>
        <source>latest</source>
        <translation>последняя</translation>
    </message>
    <message>
        <source>Target folder:</source>
        <translation>Папка назначения:</translation>
    </message>
    <message>
        <source>the board&apos;s lib folder</source>
        <translation>папка lib платы</translation>
    </message>
    <message>
        <source>.mpy when the board supports it</source>
        <translation>.mpy, если плата их поддерживает</translation>
    </message>
    <message>
        <source>Index:</source>
        <translation>Индекс:</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Дополнительно</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Установить</translation>
    </message>
    <message>
        <source>Cancelling after the current file...</source>
        <translation>Отмена после текущего файла...</translation>
    </message>
    <message>
        <source>Installing...</source>
        <translation>Установка...</translation>
    </message>
    <message>
        <source>Cancelled; the system log lists what was written.</source>
        <translation>Отменено; записанные файлы перечислены в системном журнале.</translation>
    </message>
    <message>
        <source>The install failed; the system log tells why.</source>
        <translation>Установка не удалась; причина указана в системном журнале.</translation>
    </message>
</context>
<context>
    <name>MCDirModel</name>
    <message>
        <source>Name</source>
        <translation>Имя</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Размер</translation>
    </message>
</context>
<context>
    <name>MorvexWindow</name>
    <message>
        <source>Morvex</source>
        <translation>Morvex</translation>
    </message>
    <message>
        <source>File System</source>
        <translation>Файловая система</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;Select a directory (PC)&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;Выбрать папку (ПК)&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>...</source>
        <translation>...</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;Goto parent directory (PC)&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;Перейти в родительскую папку (ПК)&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>Terminal</source>
        <translation>Терминал</translation>
    </message>
    <message>
        <source>Syslog</source>
        <translation>Журнал</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Файл</translation>
    </message>
    <message>
        <source>Save Log</source>
        <translation>Сохранить журнал</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Правка</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Справка</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Соединение</translation>
    </message>
    <message>
        <source>Actions</source>
        <translation>Действия</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>Выход</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>About</source>
        <translation>О программе</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>Загрузить</translation>
    </message>
    <message>
        <source>Upload the selected file</source>
        <translation>Загрузить выбранный файл</translation>
    </message>
    <message>
        <source>Ctrl+U</source>
        <translation>Ctrl+U</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>Скачать</translation>
    </message>
    <message>
        <source>Download a file from the MC</source>
        <translation>Скачать файл с МК</translation>
    </message>
    <message>
        <source>Ctrl+D</source>
        <translation>Ctrl+D</translation>
    </message>
    <message>
        <source>Sync</source>
        <translation>Синхронизация</translation>
    </message>
    <message>
        <source>Sync files between the PC and the MC</source>
        <translation>Синхронизировать файлы между ПК и МК</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Прервать</translation>
    </message>
    <message>
        <source>Stop the virtual machine</source>
        <translation>Остановить виртуальную машину</translation>
    </message>
    <message>
        <source>Ctrl+X</source>
        <translation>Ctrl+X</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Сброс</translation>
    </message>
    <message>
        <source>Reset the MC</source>
        <translation>Перезагрузить МК</translation>
    </message>
    <message>
        <source>Ctrl+Z</source>
        <translation>Ctrl+Z</translation>
    </message>
    <message>
        <source>DFU</source>
        <translation>DFU</translation>
    </message>
    <message>
        <source>Put the MC into the DFU mode</source>
        <translation>Перевести МК в режим DFU</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Удалить</translation>
    </message>
    <message>
        <source>Remove a file from the MC</source>
        <translation>Удалить файл с МК</translation>
    </message>
    <message>
        <source>Edit a MC file</source>
        <translation>Редактировать файл МК</translation>
    </message>
    <message>
        <source>Ctrl+E</source>
        <translation>Ctrl+E</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Настройки</translation>
    </message>
    <message>
        <source>Upload Package</source>
        <translation>Загрузить пакет</translation>
    </message>
    <message>
        <source>Upload a package to the MC</source>
        <translation>Загрузить пакет на МК</translation>
    </message>
    <message>
        <source>New Directory</source>
        <translation>Новая папка</translation>
    </message>
    <message>
        <source>Create a new directory in the MC flash</source>
        <translation>Создать папку во флеш-памяти МК</translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation>Ctrl+Shift+N</translation>
    </message>
    <message>
        <source>New File</source>
        <translation>Новый файл</translation>
    </message>
    <message>
        <source>Create a new file in the MC flash</source>
        <translation>Создать файл во флеш-памяти МК</translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation>Ctrl+N</translation>
    </message>
    <message>
        <source>Launch</source>
        <translation>Запуск</translation>
    </message>
    <message>
        <source>Launch the virtual machine</source>
        <translation>Запустить виртуальную машину</translation>
    </message>
    <message>
        <source>Clear Syslog</source>
        <translation>Очистить журнал</translation>
    </message>
    <message>
        <source>Clear Terminal</source>
        <translation>Очистить терминал</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Подключить</translation>
    </message>
    <message>
        <source>Connect to a MVX device or disconnect from one</source>
        <translation>Подключиться к устройству MVX или отключиться от него</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>Reset MC</source>
        <translation>Сброс МК</translation>
    </message>
    <message>
        <source>Reset the MC after establishing a connection</source>
        <translation>Перезагрузить МК после установки соединения</translation>
    </message>
    <message>
        <source>Ctrl+R</source>
        <translation>Ctrl+R</translation>
    </message>
    <message>
        <source>Monitor Only</source>
        <translation>Только мониторинг</translation>
    </message>
    <message>
        <source>Do not stop the virtual machine after establishing a connection</source>
        <translation>Не останавливать виртуальную машину после установки соединения</translation>
    </message>
    <message>
        <source>Ctrl+M</source>
        <translation>Ctrl+M</translation>
    </message>
    <message>
        <source>Automatic Reconnect</source>
        <translation>Автоматическое переподключение</translation>
    </message>
    <message>
        <source>Automatically reconnect if the connection is aborted</source>
        <translation>Автоматически переподключаться при обрыве соединения</translation>
    </message>
    <message>
        <source>About Qt</source>
        <translation>О Qt</translation>
    </message>
    <message>
        <source>Check for Updates</source>
        <translation>Проверить обновления</translation>
    </message>
    <message>
        <source>%1 removed</source>
        <translation>%1 удалён</translation>
    </message>
    <message>
        <source>Removal error: %1. Aborted</source>
        <translation>Ошибка удаления: %1. Прервано</translation>
    </message>
    <message>
        <source>Directory creator %1 is missing</source>
        <translation>Сценарий создания папок %1 не найден</translation>
    </message>
    <message>
        <source>Creating dir %1</source>
        <translation>Создание папки %1</translation>
    </message>
    <message>
        <source>Directory %1 must be empty in order to be removed</source>
        <translation>Папка %1 должна быть пустой, чтобы её можно было удалить</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Имя</translation>
    </message>
    <message>
        <source>A directory with the same name already exists</source>
        <translation>Папка с таким именем уже существует</translation>
    </message>
    <message>
        <source>MC directory creation failure</source>
        <translation>Не удалось создать папку на МК</translation>
    </message>
    <message>
        <source>Downloading %1</source>
        <translation>Скачивание %1</translation>
    </message>
    <message>
        <source>Communication timed out</source>
        <translation>Истекло время ожидания ответа</translation>
    </message>
    <message>
        <source>Download from %1 completed</source>
        <translation>Скачивание %1 завершено</translation>
    </message>
    <message>
        <source>File downloaded with errors!! (checksum mismatch %1 vs %2</source>
        <translation>Файл скачан с ошибками!! (контрольные суммы не совпадают: %1 и %2</translation>
    </message>
    <message>
        <source>Transmission error: %1</source>
        <translation>Ошибка передачи: %1</translation>
    </message>
    <message>
        <source>Communication error - unexpected data</source>
        <translation>Ошибка связи - неожиданные данные</translation>
    </message>
    <message>
        <source>Cannot write to %1: %2</source>
        <translation>Не удаётся записать в %1: %2</translation>
    </message>
    <message>
        <source>Download file</source>
        <translation>Скачать файл</translation>
    </message>
    <message>
        <source>File %1 exists. Overwrite?</source>
        <translation>Файл %1 существует. Перезаписать?</translation>
    </message>
    <message>
        <source>Cannot list files - invalid reply</source>
        <translation>Не удаётся получить список файлов - неверный ответ</translation>
    </message>
    <message>
        <source>Cannot change directory to %1</source>
        <translation>Не удаётся перейти в папку %1</translation>
    </message>
    <message>
        <source>Upload File</source>
        <translation>Загрузить файл</translation>
    </message>
    <message>
        <source>This is an update package. Do you want to unpack it and upload its contents?</source>
        <translation>Это пакет обновления. Распаковать его и загрузить содержимое?</translation>
    </message>
    <message>
        <source>Execute this file on the MC instead of uploading?</source>
        <translation>Выполнить этот файл на МК вместо загрузки?</translation>
    </message>
    <message>
        <source>Keep the subdirectory structure?</source>
        <translation>Сохранить структуру подпапок?</translation>
    </message>
    <message>
        <source>File&apos;s relative path is %1</source>
        <translation>Относительный путь файла: %1</translation>
    </message>
    <message>
        <source>If you choose to keep the directory structure, the file will be uploaded to
%1

If not, it will be uploaded to
%2</source>
        <translation>Если сохранить структуру папок, файл будет загружен в
%1

Если нет, он будет загружен в
%2</translation>
    </message>
    <message>
        <source>Error while starting the transmission. Aborted</source>
        <translation>Ошибка при начале передачи. Прервано</translation>
    </message>
    <message>
        <source>No reply for the transmitted data. Aborted</source>
        <translation>Нет ответа на переданные данные. Прервано</translation>
    </message>
    <message>
        <source>Invalid reply %1. Aborted</source>
        <translation>Неверный ответ %1. Прервано</translation>
    </message>
    <message>
        <source>Transmission error. Aborted</source>
        <translation>Ошибка передачи. Прервано</translation>
    </message>
    <message>
        <source>No reply. Aborted</source>
        <translation>Нет ответа. Прервано</translation>
    </message>
    <message>
        <source>Finalization error (during transmission phase). Aborted</source>
        <translation>Ошибка завершения (на этапе передачи). Прервано</translation>
    </message>
    <message>
        <source>Finalization error (during reception phase). Aborted</source>
        <translation>Ошибка завершения (на этапе приёма). Прервано</translation>
    </message>
    <message>
        <source>Finished uploading to %1</source>
        <translation>Загрузка в %1 завершена</translation>
    </message>
    <message>
        <source>Cannot upload - forbidden character %1 in %2</source>
        <translation>Загрузка невозможна - недопустимый символ %1 в %2</translation>
    </message>
    <message>
        <source>Start uploading &quot;%1&quot; -&gt; &quot;%2&quot;</source>
        <translation>Начало загрузки &quot;%1&quot; -&gt; &quot;%2&quot;</translation>
    </message>
    <message>
        <source>Cannot read from %1: %2</source>
        <translation>Не удаётся прочитать %1: %2</translation>
    </message>
    <message>
        <source>%p% (%v of %m bytes)</source>
        <translation>%p% (%v из %m байт)</translation>
    </message>
    <message>
        <source>Fatal communication error</source>
        <translation>Критическая ошибка связи</translation>
    </message>
    <message>
        <source>Connection closed</source>
        <translation>Соединение закрыто</translation>
    </message>
    <message>
        <source>Reconnecting.... Please wait.</source>
        <translation>Переподключение.... Пожалуйста, подождите.</translation>
    </message>
    <message>
        <source>System information request failed</source>
        <translation>Не удалось получить сведения о системе</translation>
    </message>
    <message>
        <source>Connected to micropython board %1 (mod %2), release %3. Core %4 version %5</source>
        <translation>Подключена плата micropython %1 (модель %2), выпуск %3. Ядро %4, версия %5</translation>
    </message>
    <message>
        <source>Launch failed</source>
        <translation>Не удалось запустить</translation>
    </message>
    <message>
        <source>Launching...</source>
        <translation>Запуск...</translation>
    </message>
    <message>
        <source>Restart failed</source>
        <translation>Не удалось перезагрузить</translation>
    </message>
    <message>
        <source>Resetting...</source>
        <translation>Перезагрузка...</translation>
    </message>
    <message>
        <source>DFU failed or not supported</source>
        <translation>DFU не удался или не поддерживается</translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation>Остановлено</translation>
    </message>
    <message>
        <source>Abort failed</source>
        <translation>Не удалось прервать</translation>
    </message>
    <message>
        <source>Execution aborted</source>
        <translation>Выполнение прервано</translation>
    </message>
    <message>
        <source>MC initialization...</source>
        <translation>Инициализация МК...</translation>
    </message>
    <message>
        <source>REPL init failed</source>
        <translation>Не удалось запустить REPL</translation>
    </message>
    <message>
        <source>REPL initialized</source>
        <translation>REPL запущен</translation>
    </message>
    <message>
        <source>Connected to %1</source>
        <translation>Подключено к %1</translation>
    </message>
    <message>
        <source>Cannot connect to %1: %2</source>
        <translation>Не удаётся подключиться к %1: %2</translation>
    </message>
    <message>
        <source>Opened connection to %1</source>
        <translation>Открыто соединение с %1</translation>
    </message>
    <message>
        <source>Connection deferred...</source>
        <translation>Подключение отложено...</translation>
    </message>
    <message>
        <source>Connection failed - MC is not responding</source>
        <translation>Не удалось подключиться - МК не отвечает</translation>
    </message>
    <message>
        <source>Reconnect attempt %1 of 10</source>
        <translation>Попытка переподключения %1 из 10</translation>
    </message>
    <message>
        <source>Reconnecting to %1</source>
        <translation>Переподключение к %1</translation>
    </message>
    <message>
        <source>Reconnection attempts exhausted</source>
        <translation>Попытки переподключения исчерпаны</translation>
    </message>
    <message>
        <source>An MC operation is in progress. Abort and quit?</source>
        <translation>Выполняется операция с МК. Прервать и выйти?</translation>
    </message>
    <message>
        <source>Cannot open %1: %2</source>
        <translation>Не удаётся открыть %1: %2</translation>
    </message>
    <message>
        <source>Cannot upload script %1</source>
        <translation>Не удаётся передать сценарий %1</translation>
    </message>
    <message>
        <source>Script %1 executed</source>
        <translation>Сценарий %1 выполнен</translation>
    </message>
    <message>
        <source>No reply at %1 step</source>
        <translation>Нет ответа на шаге %1</translation>
    </message>
    <message>
        <source>Run on the MC</source>
        <translation>Выполнить на МК</translation>
    </message>
    <message>
        <source>Synchronize</source>
        <translation>Синхронизировать</translation>
    </message>
    <message>
        <source>Select Directory</source>
        <translation>Выбор папки</translation>
    </message>
    <message>
        <source>Save Log As</source>
        <translation>Сохранить журнал как</translation>
    </message>
    <message>
        <source>Log files (*.log)</source>
        <translation>Файлы журналов (*.log)</translation>
    </message>
    <message>
        <source>Saved to %1</source>
        <translation>Сохранено в %1</translation>
    </message>
    <message>
        <source>Cannot save to %1: %2</source>
        <translation>Не удаётся сохранить в %1: %2</translation>
    </message>
    <message>
        <source>MVX Board Toolkit v%1</source>
        <translation>Инструментарий плат MVX, версия %1</translation>
    </message>
    <message>
        <source>Developed by: Halvorn Works LLC</source>
        <translation>Разработчик: ООО «Halvorn Works»</translation>
    </message>
    <message>
        <source>3rd party software:</source>
        <translation>Сторонние компоненты:</translation>
    </message>
    <message>
        <source>Your user may not open %1: join the group &quot;%2&quot; that owns it (sudo usermod -aG %2 $USER), then log out and log in again.</source>
        <translation>Нет прав на открытие %1: вступите в группу &quot;%2&quot;, которой принадлежит устройство (sudo usermod -aG %2 $USER), затем выйдите из системы и войдите снова.</translation>
    </message>
    <message>
        <source>Package Upload</source>
        <translation>Загрузка пакета</translation>
    </message>
    <message>
        <source>A package is being uploaded. Please wait</source>
        <translation>Идёт загрузка пакета. Пожалуйста, подождите</translation>
    </message>
    <message>
        <source>Invalid package %1 - maybe not an zpack?</source>
        <translation>Неверный пакет %1 - возможно, это не zpack?</translation>
    </message>
    <message>
        <source>Loading zpack for %1</source>
        <translation>Загрузка zpack для %1</translation>
    </message>
    <message>
        <source>ZPack is broken (cannot get %1). Abort</source>
        <translation>ZPack повреждён (не удаётся найти %1). Прервано</translation>
    </message>
    <message>
        <source>ZPack is broken (cannot read %1). Abort</source>
        <translation>ZPack повреждён (не удаётся прочитать %1). Прервано</translation>
    </message>
    <message>
        <source>Uploading %1 from zpack</source>
        <translation>Загрузка %1 из zpack</translation>
    </message>
    <message>
        <source>ZPack uploaded!</source>
        <translation>ZPack загружен!</translation>
    </message>
    <message>
        <source>Cannot read zfw package: %1</source>
        <translation>Не удаётся прочитать пакет zfw: %1</translation>
    </message>
    <message>
        <source>Loading zfw from %1</source>
        <translation>Загрузка zfw из %1</translation>
    </message>
    <message>
        <source>Uploading %1</source>
        <translation>Загрузка %1</translation>
    </message>
    <message>
        <source>ZFW firmware package is for %1/%2 (%3)</source>
        <translation>Пакет прошивки ZFW предназначен для %1/%2 (%3)</translation>
    </message>
    <message>
        <source>ZFW firmware pack uploaded!</source>
        <translation>Пакет прошивки ZFW загружен!</translation>
    </message>
    <message>
        <source>Select package</source>
        <translation>Выберите пакет</translation>
    </message>
    <message>
        <source>Tarvo pack files (*.zpack);; ZFW firmware updates (*.zfw)</source>
        <translation>Пакеты Tarvo (*.zpack);; Обновления прошивки ZFW (*.zfw)</translation>
    </message>
    <message>
        <source>Unsupported package type</source>
        <translation>Неподдерживаемый тип пакета</translation>
    </message>
    <message>
        <source>Select a MC file to edit</source>
        <translation>Выберите файл МК для редактирования</translation>
    </message>
    <message>
        <source>A file is already being edited</source>
        <translation>Файл уже редактируется</translation>
    </message>
    <message>
        <source>Nothing of %1 was downloaded although the file is not empty; it is not opened for editing</source>
        <translation>Файл %1 не пуст, но ничего из него не скачано; он не открыт для редактирования</translation>
    </message>
    <message>
        <source>File name:</source>
        <translation>Имя файла:</translation>
    </message>
    <message>
        <source>The file name is invalid</source>
        <translation>Недопустимое имя файла</translation>
    </message>
    <message>
        <source>A file with the same name already exists</source>
        <translation>Файл с таким именем уже существует</translation>
    </message>
    <message>
        <source>Cannot create temporary file at %1</source>
        <translation>Не удаётся создать временный файл %1</translation>
    </message>
    <message>
        <source>The file cannot be uploaded. Save it?</source>
        <translation>Не удаётся загрузить файл. Сохранить его?</translation>
    </message>
    <message>
        <source>Synchronization failed</source>
        <translation>Синхронизация не удалась</translation>
    </message>
    <message>
        <source>Syncronization aborted: hash computation failure</source>
        <translation>Синхронизация прервана: ошибка вычисления хэша</translation>
    </message>
    <message>
        <source>Skipping %1 - destination file is missing</source>
        <translation>Пропуск %1 - файл назначения отсутствует</translation>
    </message>
    <message>
        <source>Skipping %1 - file is not readable</source>
        <translation>Пропуск %1 - файл недоступен для чтения</translation>
    </message>
    <message>
        <source>Skipping %1 - files are identical</source>
        <translation>Пропуск %1 - файлы идентичны</translation>
    </message>
    <message>
        <source>MC does not support MD5 computation - switched to SHA1</source>
        <translation>МК не поддерживает вычисление MD5 - используется SHA1</translation>
    </message>
    <message>
        <source>Synchronization aborted - file upload failure</source>
        <translation>Синхронизация прервана - ошибка загрузки файла</translation>
    </message>
    <message>
        <source>Synchronized files from folders %1/ and %2</source>
        <translation>Синхронизированы файлы из папок %1/ и %2</translation>
    </message>
    <message>
        <source>Install Package...</source>
        <translation>Установить пакет...</translation>
    </message>
    <message>
        <source>Install a package of the MicroPython package index on the MC</source>
        <translation>Установить на МК пакет из индекса пакетов MicroPython</translation>
    </message>
    <message>
        <source>Connect to a board first</source>
        <translation>Сначала подключитесь к плате</translation>
    </message>
    <message>
        <source>%p% (file %1 of %2, %v of %m bytes)</source>
        <translation>%p% (файл %1 из %2, %v из %m байт)</translation>
    </message>
    <message>
        <source>REPL</source>
        <translation>REPL</translation>
    </message>
    <message>
        <source>Plot</source>
        <translation>График</translation>
    </message>
</context>
<context>
    <name>PlotView</name>
    <message>
        <source>Pause</source>
        <translation>Пауза</translation>
    </message>
    <message>
        <source>Stop taking new samples</source>
        <translation>Не принимать новые отсчёты</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Очистить</translation>
    </message>
    <message>
        <source>Forget all samples</source>
        <translation>Удалить все отсчёты</translation>
    </message>
    <message>
        <source>Save Image</source>
        <translation>Сохранить изображение</translation>
    </message>
    <message>
        <source>Save the plot as a PNG image</source>
        <translation>Сохранить график как изображение PNG</translation>
    </message>
    <message>
        <source>Save Data</source>
        <translation>Сохранить данные</translation>
    </message>
    <message>
        <source>Save the samples on screen as CSV</source>
        <translation>Сохранить показанные отсчёты в CSV</translation>
    </message>
    <message>
        <source>Window:</source>
        <translation>Окно:</translation>
    </message>
    <message>
        <source> samples</source>
        <translation> отсч.</translation>
    </message>
    <message>
        <source>How many samples the plot keeps on screen</source>
        <translation>Сколько отсчётов график держит на экране</translation>
    </message>
    <message>
        <source>Wheel: zoom, drag: pan, double click: follow the newest samples</source>
        <translation>Колесо: масштаб, перетаскивание: сдвиг, двойной щелчок: следовать за новыми отсчётами</translation>
    </message>
    <message>
        <source>The plot shows at most %1 series: &quot;%2&quot; and other new names are left out</source>
        <translation>График показывает не более %1 рядов: «%2» и другие новые имена пропущены</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Продолжить</translation>
    </message>
    <message>
        <source>Take new samples again</source>
        <translation>Снова принимать новые отсчёты</translation>
    </message>
    <message>
        <source>Save Plot Image</source>
        <translation>Сохранить изображение графика</translation>
    </message>
    <message>
        <source>PNG images (*.png)</source>
        <translation>Изображения PNG (*.png)</translation>
    </message>
    <message>
        <source>Saved to %1</source>
        <translation>Сохранено в %1</translation>
    </message>
    <message>
        <source>Cannot save to %1: %2</source>
        <translation>Не удаётся сохранить в %1: %2</translation>
    </message>
    <message>
        <source>Save Plot Data</source>
        <translation>Сохранить данные графика</translation>
    </message>
    <message>
        <source>CSV files (*.csv)</source>
        <translation>Файлы CSV (*.csv)</translation>
    </message>
</context>
<context>
    <name>PackageIndex</name>
    <message>
        <source>Cannot install from %1: not a package name, github: place or URL of a .py, .mpy or .json</source>
        <translation>Невозможно установить из %1: это не имя пакета, не место github: и не URL файла .py, .mpy или .json</translation>
    </message>
    <message>
        <source>Invalid package index %1</source>
        <translation>Неверный индекс пакетов %1</translation>
    </message>
    <message>
        <source>Invalid package description %1</source>
        <translation>Неверное описание пакета %1</translation>
    </message>
    <message>
        <source>Unsafe destination %1 in %2</source>
        <translation>Небезопасный путь назначения %1 в %2</translation>
    </message>
</context>
<context>
    <name>PackageInstaller</name>
    <message>
        <source>Cannot install into %1</source>
        <translation>Невозможно установить в %1</translation>
    </message>
    <message>
        <source>Installing %1 into %2 (index folder %3)</source>
        <translation>Установка %1 в %2 (папка индекса %3)</translation>
    </message>
    <message>
        <source>The board did not tell its .mpy version and library folder</source>
        <translation>Плата не сообщила версию .mpy и папку библиотек</translation>
    </message>
    <message>
        <source>Dependency cycle: %1</source>
        <translation>Цикл зависимостей: %1</translation>
    </message>
    <message>
        <source>Package %1 not found in the index</source>
        <translation>Пакет %1 не найден в индексе</translation>
    </message>
    <message>
        <source>Package %1 %2: %3 file(s)</source>
        <translation>Пакет %1 %2: файлов: %3</translation>
    </message>
    <message>
        <source>Cannot reach %1: %2</source>
        <translation>Нет доступа к %1: %2</translation>
    </message>
    <message>
        <source>no answer for %1 ms</source>
        <translation>нет ответа в течение %1 мс</translation>
    </message>
    <message>
        <source>more than %1 bytes</source>
        <translation>больше %1 байт</translation>
    </message>
    <message>
        <source>Checking %1 (%2 of %3 files)</source>
        <translation>Проверка %1 (файл %2 из %3)</translation>
    </message>
    <message>
        <source>The board did not hash %1</source>
        <translation>Плата не вычислила хеш %1</translation>
    </message>
    <message>
        <source>Skipping %1 - identical file on the board</source>
        <translation>Пропуск %1 - на плате уже такой же файл</translation>
    </message>
    <message>
        <source>File %1 does not match its hash</source>
        <translation>Файл %1 не соответствует своему хешу</translation>
    </message>
    <message>
        <source>Writing %1 (%2 of %3 files)</source>
        <translation>Запись %1 (файл %2 из %3)</translation>
    </message>
    <message>
        <source>Writing %1 (%2 bytes)</source>
        <translation>Запись %1 (%2 байт)</translation>
    </message>
    <message>
        <source>Written %1 files</source>
        <translation>Записано файлов: %1</translation>
    </message>
    <message>
        <source>Installed %1 %2 (%3 files, %4 skipped)</source>
        <translation>Установлен %1 %2 (файлов: %3, пропущено: %4)</translation>
    </message>
    <message>
        <source>Install of %1 cancelled; nothing was written</source>
        <translation>Установка %1 отменена; ничего не записано</translation>
    </message>
    <message>
        <source>Install of %1 cancelled; written: %2</source>
        <translation>Установка %1 отменена; записано: %2</translation>
    </message>
    <message>
        <source>Install of %1 failed; nothing was written</source>
        <translation>Установка %1 не удалась; ничего не записано</translation>
    </message>
    <message>
        <source>Install of %1 failed; written before the failure: %2</source>
        <translation>Установка %1 не удалась; до ошибки записано: %2</translation>
    </message>
</context>
<context>
    <name>Preferences</name>
    <message>
        <source>Preferences</source>
        <translation>Настройки</translation>
    </message>
    <message>
        <source>Environment</source>
        <translation>Среда</translation>
    </message>
    <message>
        <source>Interface</source>
        <translation>Интерфейс</translation>
    </message>
    <message>
        <source>Language:</source>
        <translation>Язык:</translation>
    </message>
    <message>
        <source>Colors:</source>
        <translation>Цвета:</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Светлая</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Тёмная</translation>
    </message>
    <message>
        <source>MC File List</source>
        <translation>Список файлов МК</translation>
    </message>
    <message>
        <source>Double click:</source>
        <translation>Двойной щелчок:</translation>
    </message>
    <message>
        <source>Edit File</source>
        <translation>Редактировать файл</translation>
    </message>
    <message>
        <source>Download File</source>
        <translation>Скачать файл</translation>
    </message>
    <message>
        <source>Default directory (STM):</source>
        <translation>Каталог по умолчанию (STM):</translation>
    </message>
    <message>
        <source>Default directory (ESP):</source>
        <translation>Каталог по умолчанию (ESP):</translation>
    </message>
    <message>
        <source>Transfer</source>
        <translation>Передача</translation>
    </message>
    <message>
        <source>Chunk Size:</source>
        <translation>Размер блока:</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>По умолчанию</translation>
    </message>
    <message>
        <source>Upload File:</source>
        <translation>Загрузка файла:</translation>
    </message>
    <message>
        <source>Keep directory structure</source>
        <translation>Сохранять структуру каталогов</translation>
    </message>
    <message>
        <source>Upload to the root directory</source>
        <translation>Загружать в корневой каталог</translation>
    </message>
    <message>
        <source>Always ask</source>
        <translation>Всегда спрашивать</translation>
    </message>
    <message>
        <source>Ask to execute a script</source>
        <translation>Предлагать выполнить сценарий</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;&lt;span style=&quot; font-weight:600; color:#ef2929;&quot;&gt;* Changing the color theme requires a restart&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;&lt;span style=&quot; font-weight:600; color:#ef2929;&quot;&gt;* Смена цветовой темы вступит в силу после перезапуска&lt;/span&gt;&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>Editor</source>
        <translation>Редактор</translation>
    </message>
    <message>
        <source>Tab policy:</source>
        <translation>Табуляция:</translation>
    </message>
    <message>
        <source>Spaces</source>
        <translation>Пробелы</translation>
    </message>
    <message>
        <source>Tabs</source>
        <translation>Табуляции</translation>
    </message>
    <message>
        <source>Tab size:</source>
        <translation>Ширина отступа:</translation>
    </message>
    <message>
        <source>Automatic indentation</source>
        <translation>Автоматический отступ</translation>
    </message>
    <message>
        <source>Automatic parentheses completion</source>
        <translation>Автоматическое закрытие скобок</translation>
    </message>
    <message>
        <source>Word wrap</source>
        <translation>Перенос строк</translation>
    </message>
    <message>
        <source>Visualize whitespace</source>
        <translation>Показывать пробельные символы</translation>
    </message>
</context>
<context>
    <name>ReplConsole</name>
    <message>
        <source>Connect to a board to use its REPL</source>
        <translation>Подключите плату, чтобы работать с её REPL</translation>
    </message>
    <message>
        <source>The board is busy</source>
        <translation>Плата занята</translation>
    </message>
    <message>
        <source>Lines go to the board as they are typed</source>
        <translation>Строки уходят на плату так, как набраны</translation>
    </message>
    <message>
        <source>Input for the running program; Ctrl+C stops it</source>
        <translation>Ввод для работающей программы; Ctrl+C её останавливает</translation>
    </message>
    <message>
        <source>Python for the board: Enter runs it, Shift+Enter adds a line, Tab completes</source>
        <translation>Python для платы: Enter выполняет, Shift+Enter добавляет строку, Tab дополняет</translation>
    </message>
    <message>
        <source>The board does not answer at its prompt</source>
        <translation>Плата не отвечает в приглашении REPL</translation>
    </message>
    <message>
        <source>The board could not be written to</source>
        <translation>Не удалось передать данные на плату</translation>
    </message>
</context>
<context>
    <name>SyncConfigurationDialog</name>
    <message>
        <source>Synchronization</source>
        <translation>Синхронизация</translation>
    </message>
    <message>
        <source>Source:</source>
        <translation>Источник:</translation>
    </message>
    <message>
        <source>Destination:</source>
        <translation>Назначение:</translation>
    </message>
    <message>
        <source>Recursively</source>
        <translation>Рекурсивно</translation>
    </message>
    <message>
        <source>Upload missing files</source>
        <translation>Загружать отсутствующие файлы</translation>
    </message>
    <message>
        <source>This will upload files from &quot;Source&quot; (PC) directory to the &quot;Destination&quot; (MC) directory whose MD5 sums differ.</source>
        <translation>Файлы из папки «Источник» (ПК), суммы MD5 которых отличаются, будут загружены в папку «Назначение» (МК).</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Halvorn micropython powered boards management utility.</source>
        <translation>Утилита Halvorn для управления платами с micropython.</translation>
    </message>
    <message>
        <source>Reset all settings to their default value.</source>
        <translation>Сбросить все настройки к значениям по умолчанию.</translation>
    </message>
    <message>
        <source>Set UI language to &lt;lang&gt;.</source>
        <translation>Установить язык интерфейса &lt;lang&gt;.</translation>
    </message>
    <message>
        <source>Ignore the system-wide dark theme setting.</source>
        <translation>Не учитывать системную тёмную тему.</translation>
    </message>
</context>
</TS>
