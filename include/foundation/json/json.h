#pragma once

#include <foundation/json/context.h>
#include <foundation/json/jarray.h>
#include <foundation/json/jbase.h>
#include <foundation/json/jbool.h>
#include <foundation/json/jnull.h>
#include <foundation/json/jnumber.h>
#include <foundation/json/jobject.h>
#include <foundation/json/jsonarchiver.h>
#include <foundation/json/jsonreader.h>
#include <foundation/json/jstring.h>
#include <foundation/json/jtype.h>
