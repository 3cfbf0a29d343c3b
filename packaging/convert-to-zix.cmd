@echo off
rem Runs from the Explorer menu: converts one JT model; the scene lands beside it and replaces an older one.
rem The window stays open only when something went wrong.
"%~dp0loftbay.exe" "%~1" "%~dpn1.zix"
if errorlevel 1 pause
