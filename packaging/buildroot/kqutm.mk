################################################################################
#
# kqutm: not built in the project's own tests
#
################################################################################

KQUTM_VERSION = $(call qstrip,$(BR2_PACKAGE_KQUTM_COMMIT))
KQUTM_SITE = $(call qstrip,$(BR2_PACKAGE_KQUTM_REPOSITORY))
KQUTM_SITE_METHOD = git
KQUTM_LICENSE = Apache-2.0
KQUTM_LICENSE_FILES = LICENSE
KQUTM_INSTALL_STAGING = YES

# KQUTM_INSTALL_LIBDIR stays lib: /usr/lib/libkqutm.so is the library itself, and its inode makes the keys of the shared
# memory. Buildroot leaves that name in the target as it is, since it is no link; no hook may take it away.
KQUTM_CONF_OPTS = \
	-DKQUTM_BUILD_EXAMPLES=OFF \
	-DKQUTM_BUILD_MANUALS=OFF \
	-DKQUTM_BUILD_SIMULATOR=OFF \
	-DKQUTM_BUILD_TESTS=OFF

ifeq ($(BR2_PACKAGE_KQUTM_UTMCTL),y)
KQUTM_DEPENDENCIES += cli11 host-pkgconf json-for-modern-cpp util-linux
KQUTM_CONF_OPTS += -DKQUTM_BUILD_TOOLS=ON

# For programs that look into the registry before one of them writes: systemctl enable utm-registry.service
# Buildroot enables each unit that no preset names.
define KQUTM_INSTALL_INIT_SYSTEMD
	$(INSTALL) -D -m 0644 $(@D)/packaging/systemd/utm-registry.service \
		$(TARGET_DIR)/usr/lib/systemd/system/utm-registry.service
	$(INSTALL) -d $(TARGET_DIR)/usr/lib/systemd/system-preset
	echo "disable utm-registry.service" >$(TARGET_DIR)/usr/lib/systemd/system-preset/90-kqutm.preset
endef
else
KQUTM_CONF_OPTS += -DKQUTM_BUILD_TOOLS=OFF
endif

define KQUTM_INSTALL_SETTINGS_FOR_TMP
	$(INSTALL) -D -m 0644 $(@D)/packaging/systemd/kqutm.conf $(TARGET_DIR)/usr/lib/tmpfiles.d/kqutm.conf
endef
ifeq ($(BR2_PACKAGE_SYSTEMD),y)
KQUTM_POST_INSTALL_TARGET_HOOKS += KQUTM_INSTALL_SETTINGS_FOR_TMP
endif

$(eval $(cmake-package))
