// Numbers shared by the resource script and the dialogs.
#pragma once

#define IDD_MAIN     129
#define IDD_SETTINGS 130
#define IDD_COURSE   131
#define IDI_PROGRAM  107

// Both dialogs
#define IDC_OK                  504
#define IDC_CANCEL              505
#define IDC_COMMUNICATION_GROUP 550

// Main dialog
#define IDC_DEVICE_GROUP     500
#define IDC_VALUES_GROUP     501
#define IDC_MANUAL_GROUP     502
#define IDC_SETTINGS         503
#define IDC_STATUS           506
#define IDC_CONNECTION       507
#define IDC_HELP_FILE        508
#define IDC_SMOKE1_LABEL     530
#define IDC_SMOKE2_LABEL     531
#define IDC_SMOKE3_LABEL     532
#define IDC_OIL_LABEL        533
#define IDC_HEAT_LABEL       534
#define IDC_HEAT_UNIT        535
#define IDC_LARGE_PICTURE    540
#define IDC_SMALL_PICTURE    541
#define IDC_SMOKE1           590
#define IDC_SMOKE2           591
#define IDC_SMOKE3           592
#define IDC_OIL_DERIVATIVE   593
#define IDC_HEAT_TEMPERATURE 594
#define IDC_VALUES           595

// Settings dialog
#define IDC_PROBE_GROUP         551
#define IDC_SERIAL_OUTPUT_GROUP 552
#define IDC_USB                 560
#define IDC_IRDA                561
#define IDC_BLUETOOTH           562
#define IDC_BLUETOOTH_PORT      563
#define IDC_BLUETOOTH_LABEL     564
#define IDC_BLUETOOTH_COM       565
#define IDC_HEATING_CHECK       567
#define IDC_SERIAL_OUTPUT       570
#define IDC_SERIAL_OUTPUT_COM   571
#define IDC_SERIAL_OUTPUT_PORT  572

// Course of values; the plot's class
#define IDC_COURSE_SPAN_LABEL 700
#define IDC_COURSE_SPAN       701
#define IDC_COURSE_PLOT       702
#define IDC_COURSE_HINT       703
#define IDC_COURSE_LIST       704
#define IDC_COURSE_SAVE       705
#define IDC_COURSE_CLOSE      706
#define COURSE_PLOT_CLASS     "NeltoCoursePlot"

// Menu of the list of values
#define IDM_COPY        801
#define IDM_COURSE      802
#define IDM_SAVE_COURSE 803

// Texts
#define IDS_DEVICE              600
#define IDS_VALUES              601
#define IDS_MANUAL_VALUES       602
#define IDS_SETTINGS            603
#define IDS_OK                  604
#define IDS_CANCEL              605
#define IDS_HELP                609
#define IDS_CHANNEL_COLUMN      610
#define IDS_VALUE_COLUMN        611
#define IDS_UNIT_COLUMN         612
#define IDS_HELP_FILE           613
#define IDS_ERROR_CAPTION       614
#define IDS_HELP_NOT_FOUND      615
#define IDS_SEARCHING           620
#define IDS_SMOKE1              630
#define IDS_SMOKE2              631
#define IDS_SMOKE3              632
#define IDS_OIL_DERIVATIVE      633
#define IDS_HEAT_TEMPERATURE    634
#define IDS_CELSIUS             635
#define IDS_COMMUNICATION       650
#define IDS_PROBE               651
#define IDS_SERIAL_OUTPUT_GROUP 652
#define IDS_USB                 660
#define IDS_IRDA                661
#define IDS_BLUETOOTH           662
#define IDS_BLUETOOTH_PORT      665
#define IDS_COM                 666
#define IDS_READ_HEATING_CHECK  667
#define IDS_UNANSWERED          690
#define IDS_YES                 691
#define IDS_NO                  692
#define IDS_SERIAL_OUTPUT       693
#define IDS_COPY                760
#define IDS_OPEN_COURSE         761
#define IDS_SAVE_COURSE         762
#define IDS_COURSE              763
#define IDS_COURSE_SPAN         764
#define IDS_COURSE_HINT         765
#define IDS_COURSE_FULL         766
#define IDS_COURSE_NOW          767
#define IDS_COURSE_MEAN_30      768
#define IDS_COURSE_MINIMUM      769
#define IDS_COURSE_MEAN         770
#define IDS_COURSE_MAXIMUM      771
#define IDS_COURSE_SAVE         772
#define IDS_COURSE_CLOSE        773
#define IDS_COURSE_EMPTY        774
#define IDS_COURSE_NOT_SAVED    775
#define IDS_COURSE_FILTER       776
#define IDS_CONTROL_KEY         780
