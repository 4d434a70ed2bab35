# Not built in the project's own tests. Needs meta-oe for cli11 and nlohmann-json where the tools are wanted.
SUMMARY = "Client library for a home gateway's security services"
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# Where the build finds the repository, and which tag or commit of it is built. A commit is built without a look at the
# network once it is fetched.
KQUTM_COMMIT ?= "v${PV}"
SRC_URI = "git://${KQUTM_REPOSITORY};protocol=https;nobranch=1"
SRCREV = "${KQUTM_COMMIT}"
S = "${WORKDIR}/git"

inherit cmake pkgconfig systemd

PACKAGECONFIG ??= "utmctl"
PACKAGECONFIG[utmctl] = "-DKQUTM_BUILD_TOOLS=ON,-DKQUTM_BUILD_TOOLS=OFF,cli11 nlohmann-json util-linux"

EXTRA_OECMAKE = " \
    -DKQUTM_BUILD_EXAMPLES=OFF \
    -DKQUTM_BUILD_MANUALS=OFF \
    -DKQUTM_BUILD_SIMULATOR=OFF \
    -DKQUTM_BUILD_TESTS=OFF \
"

do_install:append() {
    install -D -m 0644 ${S}/packaging/systemd/kqutm.conf ${D}${nonarch_libdir}/tmpfiles.d/kqutm.conf
    if ${@bb.utils.contains('PACKAGECONFIG', 'utmctl', 'true', 'false', d)}; then
        install -D -m 0644 ${S}/packaging/systemd/utm-registry.service ${D}${systemd_system_unitdir}/utm-registry.service
    fi
}

# For programs that look into the registry before one of them writes: systemctl enable utm-registry.service
SYSTEMD_PACKAGES = "${@bb.utils.contains('PACKAGECONFIG', 'utmctl', 'utmctl', '', d)}"
SYSTEMD_SERVICE:utmctl = "utm-registry.service"
SYSTEMD_AUTO_ENABLE:utmctl = "disable"

# /usr/lib/libkqutm.so is the library itself, and its inode makes the keys of the shared memory: it belongs to the
# runtime, where a name without a version is otherwise one for developers. With multilib the path stays /usr/lib.
SOLIBS = ".so*"
FILES_SOLIBSDEV = ""
INSANE_SKIP:${PN} += "dev-so libdir"

PACKAGES =+ "utmctl"
FILES:utmctl = "${bindir}/utmctl ${datadir}/bash-completion ${datadir}/zsh"
FILES:${PN} = "${prefix}/lib/libkqutm.so ${prefix}/lib/libkqutm.so.1 ${nonarch_libdir}/tmpfiles.d"
FILES:${PN}-dev = "${includedir} ${prefix}/lib/pkgconfig ${prefix}/lib/cmake"
FILES:${PN}-staticdev = "${prefix}/lib/libkqutm.a"
ALLOW_EMPTY:utmctl = "1"
