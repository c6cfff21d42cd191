"""The include rules of each folder. include_fence.py checks them."""

# The roots of quoted paths, tried in this order after the including file's own folder.
INCLUDE_ROOTS = (
    "",
    "platform/host/include",
    "platform/host/impl",
    "platform/host/src",
    "platform/kesdk/include",
    "platform/kesdk/impl",
    "platform/kesdk/src",
    "tests",
)

# The beginnings of third-party headers. Other headers belong to the C or C++ library or the system.
LIBRARIES = {
    "boost": ("boost/",),
    "curl": ("curl/",),
    "openssl": ("openssl/",),
    "json": ("nlohmann/",),
    "soci": ("soci/",),
    "sodium": ("sodium.h", "sodium/"),
    "spdlog": ("spdlog/", "fmt/"),
    "cli11": ("CLI/",),
    "sqlite": ("sqlite3",),
    "postgresql": ("libpq", "postgresql/"),
    "archive": ("archive.h", "archive_entry.h"),
    "deflate": ("libdeflate.h",),
    "zlib": ("zlib.h", "zconf.h"),
    "isal": ("isa-l/",),
    "gtest": ("gtest/", "gmock/"),
}

CONSOLE_VIEW_OF_THE_PLUGIN = ("core/TKelvoInterface.h", "core/KelvoRecords.h")


class Rule:
    """The includes that the files below one folder may have.

    folders    folders (or single files) of the project, besides its own
    qt         Qt modules
    libraries  names of LIBRARIES
    no_widgets whether project headers must not include Qt Widgets either
    """

    def __init__(self, folder, folders=(), qt=(), libraries=(), no_widgets=False):
        self.folder = folder
        self.folders = tuple(folders)
        self.qt = frozenset(qt)
        self.libraries = frozenset(libraries)
        self.no_widgets = no_widgets


HOST_CONTRACT = "platform/host/include"
SDK_CONTRACT = "platform/kesdk/include"
SDK_STATUS = "platform/kesdk/impl"  # for consoles

# The first rule whose folder contains a file applies to the file.
RULES = (
    Rule("core", [HOST_CONTRACT], ["QtCore"], no_widgets=True),
    Rule("worker", ["core", "net", SDK_CONTRACT, HOST_CONTRACT],
         ["QtCore", "QtGui", "QtNetwork"], ["boost"], no_widgets=True),
    Rule("net", [], ["QtCore", "QtNetwork"], no_widgets=True),
    Rule("screens", ["core", HOST_CONTRACT], ["QtCore", "QtGui", "QtWidgets"]),
    Rule("plugin", ["core", "worker", "screens", "net", HOST_CONTRACT],
         ["QtCore", "QtGui", "QtWidgets"]),
    Rule("platform/host/include", [], ["QtCore", "QtGui", "QtWidgets"]),
    Rule("platform/host/impl", [HOST_CONTRACT], ["QtCore", "QtGui", "QtWidgets"]),
    Rule("platform/host", [HOST_CONTRACT, "platform/host/impl"],
         ["QtCore", "QtGui", "QtWidgets", "QtQuick", "QtQuickWidgets", "QtQml"],
         ["archive", "sodium", "zlib"]),
    Rule("platform/kesdk/include"),
    Rule("platform/kesdk/impl"),
    # The SDK's layers: each layer may include only lower layers.
    Rule("platform/kesdk/src/base", [SDK_STATUS], [], ["openssl", "json", "zlib"]),
    Rule("platform/kesdk/src/http", ["platform/kesdk/src/base"], [], ["curl", "openssl", "zlib"]),
    Rule("platform/kesdk/src/client",
         ["platform/kesdk/src/http", "platform/kesdk/src/base", SDK_CONTRACT, SDK_STATUS], [],
         ["json", "openssl", "zlib"]),
    Rule("platform/kesdk/src/account",
         ["platform/kesdk/src/client", "platform/kesdk/src/http", "platform/kesdk/src/base",
          SDK_CONTRACT], [], ["json"]),
    Rule("platform/kesdk/src/transfer",
         ["platform/kesdk/src/client", "platform/kesdk/src/http", "platform/kesdk/src/base",
          SDK_CONTRACT, SDK_STATUS], [], ["json", "openssl"]),
    Rule("platform/kesdk", [SDK_CONTRACT, SDK_STATUS], [], ["boost", "curl", "openssl", "json", "zlib"]),
    Rule("console/position/nmea"),
    Rule("console/position", [HOST_CONTRACT, "platform/host/impl"], ["QtCore", "QtNetwork"]),
    Rule("console/session",
         ["console/position", HOST_CONTRACT, "platform/host/impl", SDK_STATUS,
          *CONSOLE_VIEW_OF_THE_PLUGIN], ["QtCore"]),
    # The window and the headless console do not include each other.
    Rule("console/headless",
         ["console/session", "console/position", HOST_CONTRACT, "platform/host/impl", SDK_STATUS,
          *CONSOLE_VIEW_OF_THE_PLUGIN], ["QtCore"]),
    Rule("console/settings",
         ["console/session", "console/position", HOST_CONTRACT, "platform/host/impl"],
         ["QtCore", "QtWidgets"]),
    Rule("console/window",
         ["console/session", "console/settings", "console/position", HOST_CONTRACT,
          "platform/host/impl", SDK_STATUS], ["QtCore", "QtGui", "QtWidgets"]),
    Rule("console", [HOST_CONTRACT, "platform/host/impl", SDK_STATUS, *CONSOLE_VIEW_OF_THE_PLUGIN],
         ["QtCore", "QtGui", "QtWidgets", "QtNetwork", "QtPositioning", "QtSerialPort", "QtQuick",
          "QtQuickWidgets", "QtQml", "QtTest", "QtSvg"]),
    # The service's layers: arrows go downwards only. kelvoctl is a client and gets base/ only.
    Rule("service/base", [], [], ["boost", "openssl", "json", "spdlog"]),
    Rule("service/http", ["service/base"], [], ["boost", "openssl", "json"]),
    Rule("service/tls", ["service/base"], [], ["boost", "openssl"]),
    Rule("service/store", ["service/base"], [], ["soci", "sqlite", "postgresql"]),
    Rule("service/objects", ["service/base"], [], ["curl", "openssl"]),
    Rule("service/content", ["service/base"]),
    Rule("service/chunks",
         ["service/content", "service/objects", "service/store", "service/base"], [], ["sodium"]),
    Rule("service/metrics", ["service/http", "service/base"]),
    Rule("service/web", ["service/http", "service/base"]),
    Rule("service/events", ["service/http", "service/store", "service/base"], [], ["boost"]),
    Rule("service/accounts", ["service/http", "service/store", "service/base"], [],
         ["boost", "sodium"]),
    Rule("service/api",
         ["service/accounts", "service/content", "service/events", "service/http",
          "service/metrics", "service/store", "service/base"], [], ["boost", "json", "isal"]),
    Rule("service/kelvoctl", ["service/base"], [], ["cli11", "curl", "json"]),
    Rule("service", [], [],
         ["boost", "openssl", "soci", "sodium", "json", "spdlog", "cli11", "curl", "sqlite",
          "postgresql", "isal"]),
    Rule("tools/herd", [], [], ["boost", "openssl", "json", "cli11", "zlib"]),
)

# Folders without rules.
FREE = ("tests", "bench", "docs", "scripts", "cmake", ".ci")
