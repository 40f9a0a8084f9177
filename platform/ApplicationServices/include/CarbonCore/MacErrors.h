/* Status codes returned by the File Manager. */
#ifndef KC_MACERRORS_H
#define KC_MACERRORS_H

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  paramErr = -50,          /* a required argument was NULL or out of range */
  nsvErr = -35,            /* no such volume: the reference names no volume */
  ioErr = -36,             /* the system refused the operation */
  bdNamErr = -37,          /* the name cannot be used as a file name */
  fnfErr = -43,            /* the file or folder does not exist */
  dupFNErr = -48,          /* the name is already taken */
  permErr = -54,           /* permission denied */
  memFullErr = -108,       /* out of memory */
  dirNFErr = -120,         /* the folder does not exist */
  notAFileErr = -1302,     /* a folder was given where a file is needed */
  errFSBadFSRef = -1401,   /* the FSRef argument is NULL */
  errFSNotAFolder = -1407, /* a file was given where a folder is needed */
  errFSNameTooLong = -1410,
  errFSRefsDifferent = -1420,
  pathTooLongErr = -2095   /* the path does not fit the caller's buffer */
};

#ifdef __cplusplus
}
#endif

#endif /* KC_MACERRORS_H */
