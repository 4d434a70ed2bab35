/* The UTM client library, whole: drives the gateway's security services from C99 and C++. */
#ifndef KQUTM_H
#define KQUTM_H

#include "kqutm/app.h"
#include "kqutm/av.h"
#include "kqutm/cf.h"
#include "kqutm/common.h"
#include "kqutm/daemon.h"
#include "kqutm/devid.h"
#include "kqutm/ips.h"
#include "kqutm/ir.h"
#include "kqutm/profile.h"
#include "kqutm/registry.h"

#endif
