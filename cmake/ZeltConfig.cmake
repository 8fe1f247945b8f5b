# The Zelt instrument framework: Zelt::util, Zelt::measure, Zelt::widget, Zelt::specific,
# Zelt::share, Zelt::system, Zelt::store and Zelt::plot, and zelt_add_plugin() for a plug-in that
# the host loads.
include(CMakeFindDependencyMacro)
find_dependency(Qt6 6.4 COMPONENTS Core Gui Widgets Network SerialPort)
find_dependency(QCustomPlotQt6)

include(${CMAKE_CURRENT_LIST_DIR}/ZeltTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/ZeltPlugin.cmake)
