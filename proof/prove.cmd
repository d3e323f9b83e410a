@echo off
"%~dp0bin\proof\prove.exe" %*
exit /b %errorlevel%
