/* Resource ids of Vexlon Inspector, shared by the resource script and the
   C++ code. Only #define lines, so the resource compiler can read it too.
   Control ids are used as plain numbers in the dialog templates. */
#ifndef VEXLON_RESOURCE_H
#define VEXLON_RESOURCE_H

/* Dialog templates: the main window and its eight pages. */
#define IDD_MAIN                100
#define IDD_DRIVE               101
#define IDD_FEATURE             102
#define IDD_MEDIA               103
#define IDD_FILE                104
#define IDD_FILTER              105
#define IDD_SECTOR              106
#define IDD_SYSTEM              107
#define IDD_ABOUT               108

/* The File page's pop-up menu and its one command. */
#define IDM_POPUP               1
#define ID_EXTRACT_FILE         200

/* Icons: the program, and the tree images of the File page. */
#define IDI_APP                 1
#define IDI_FOLDER              4
#define IDI_FOLDER_OPEN         5
#define IDI_VOLUME              6

/* Bitmaps: eleven 16x16 tool images; five 48x48 About page pictures. */
#define IDB_TOOLS               2
#define IDB_ABOUT_STRIP         3

/* List column and group texts of the File and Filter Driver pages. */
#define IDS_NAME                100
#define IDS_DATE_MODIFIED       101
#define IDS_SIZE                102
#define IDS_VERSION             103
#define IDS_DESCRIPTION         104
#define IDS_PUBLISHER           105
#define IDS_IMAGE_PATH          106
#define IDS_UPPER_FILTERS       107
#define IDS_LOWER_FILTERS       108
#define IDS_LBA                 109
#define IDS_SIZE_BYTES          110

#endif /* VEXLON_RESOURCE_H */
