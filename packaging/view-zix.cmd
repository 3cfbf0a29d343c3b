@echo off
rem Opens one Zix scene in the browser, as the Explorer asks for it. The window stays open only when something
rem went wrong.
"%~dp0zix.exe" view "%~1"
if errorlevel 1 pause
