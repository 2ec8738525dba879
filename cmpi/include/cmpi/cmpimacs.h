/* cmpimacs.h: convenience calls, one for each slot that providers commonly use.
 *
 * Values are passed as `const void *`: the characters themselves for CMPI_chars, for every other
 * kind the address of a variable that holds the number or the object pointer. */
#ifndef _CMPIMACS_H_
#define _CMPIMACS_H_

#include <cmpift.h>

#include <stddef.h>

/* ---- Any object ----------------------------------------------------------------------------- */

#define CMRelease(object) ((object)->ft->release((object)))
#define CMClone(object, rc) ((object)->ft->clone((object), (rc)))

/* ---- Status --------------------------------------------------------------------------------- */

/* Returns a status without a message from the function it stands in. */
#define CMReturn(code)                        \
  do {                                        \
    CMPIStatus cmpiReturned_ = {(code), NULL}; \
    return cmpiReturned_;                     \
  } while (0)

static inline void CMSetStatus(CMPIStatus *st, CMPIrc code) {
  if (st != NULL) {
    st->rc = code;
    st->msg = NULL;
  }
}

/* ---- Making objects ------------------------------------------------------------------------- */

static inline CMPIInstance *CMNewInstance(const CMPIBroker *mb, const CMPIObjectPath *op,
                                          CMPIStatus *rc) {
  return mb->eft->newInstance(mb, op, rc);
}

static inline CMPIObjectPath *CMNewObjectPath(const CMPIBroker *mb, const char *ns, const char *cn,
                                              CMPIStatus *rc) {
  return mb->eft->newObjectPath(mb, ns, cn, rc);
}

static inline CMPIDateTime *CMNewDateTime(const CMPIBroker *mb, CMPIStatus *rc) {
  return mb->eft->newDateTime(mb, rc);
}

static inline CMPIString *CMNewString(const CMPIBroker *mb, const char *text, CMPIStatus *rc) {
  return mb->eft->newString(mb, text, rc);
}

/* ---- Strings -------------------------------------------------------------------------------- */

static inline const char *CMGetCharsPtr(const CMPIString *str, CMPIStatus *rc) {
  return str->ft->getCharPtr(str, rc);
}

static inline const char *CMGetCharPtr(const CMPIString *str) {
  return str->ft->getCharPtr(str, NULL);
}

/* ---- Instances ------------------------------------------------------------------------------ */

static inline CMPIStatus CMSetProperty(const CMPIInstance *inst, const char *name,
                                       const void *value, CMPIType type) {
  return inst->ft->setProperty(inst, name, (const CMPIValue *)value, type);
}

static inline CMPIData CMGetProperty(const CMPIInstance *inst, const char *name, CMPIStatus *rc) {
  return inst->ft->getProperty(inst, name, rc);
}

/* ---- Object paths --------------------------------------------------------------------------- */

static inline CMPIStatus CMAddKey(const CMPIObjectPath *op, const char *name, const void *value,
                                  CMPIType type) {
  return op->ft->addKey(op, name, (const CMPIValue *)value, type);
}

static inline CMPIData CMGetKey(const CMPIObjectPath *op, const char *name, CMPIStatus *rc) {
  return op->ft->getKey(op, name, rc);
}

static inline CMPIString *CMGetNameSpace(const CMPIObjectPath *op, CMPIStatus *rc) {
  return op->ft->getNameSpace(op, rc);
}

static inline CMPIString *CMGetClassName(const CMPIObjectPath *op, CMPIStatus *rc) {
  return op->ft->getClassName(op, rc);
}

/* ---- Results -------------------------------------------------------------------------------- */

static inline CMPIStatus CMReturnData(const CMPIResult *rslt, const void *value, CMPIType type) {
  return rslt->ft->returnData(rslt, (const CMPIValue *)value, type);
}

static inline CMPIStatus CMReturnInstance(const CMPIResult *rslt, const CMPIInstance *inst) {
  return rslt->ft->returnInstance(rslt, inst);
}

static inline CMPIStatus CMReturnObjectPath(const CMPIResult *rslt, const CMPIObjectPath *op) {
  return rslt->ft->returnObjectPath(rslt, op);
}

static inline CMPIStatus CMReturnDone(const CMPIResult *rslt) {
  return rslt->ft->returnDone(rslt);
}

/* ---- Threads and indications ---------------------------------------------------------------- */

static inline CMPIContext *CBPrepareAttachThread(const CMPIBroker *mb, const CMPIContext *ctx) {
  return mb->bft->prepareAttachThread(mb, ctx);
}

static inline CMPIStatus CBAttachThread(const CMPIBroker *mb, const CMPIContext *ctx) {
  return mb->bft->attachThread(mb, ctx);
}

static inline CMPIStatus CBDetachThread(const CMPIBroker *mb, const CMPIContext *ctx) {
  return mb->bft->detachThread(mb, ctx);
}

static inline CMPIStatus CBDeliverIndication(const CMPIBroker *mb, const CMPIContext *ctx,
                                             const char *ns, const CMPIInstance *ind) {
  return mb->bft->deliverIndication(mb, ctx, ns, ind);
}

#endif /* _CMPIMACS_H_ */
