# The tray application: Qt Widgets shell and the desktop backends.
