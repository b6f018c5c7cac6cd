@echo off
rem README.txt explains this. On a slow line start "run.cmd 64": its large file has 64 MiB, not 1024.
pushd "%~dp0"
echo A server, a login, and a folder that the tests may write to. Enter alone keeps what is in brackets.
echo.
set /p "ZDV_SERVER=Server, its bare name or address [%ZDV_SERVER%]: "
set /p "ZDV_PORT=Port, 22 for SFTP, 990 for implicit TLS, 21 for FTP [%ZDV_PORT%]: "
set /p "ZDV_USER=User [%ZDV_USER%]: "
set /p "ZDV_ROOT=Folder on the server, for SFTP ~/ and its name [%ZDV_ROOT%]: "
kit.exe %*
set ZDV_RESULT=%ERRORLEVEL%
popd
pause
exit /b %ZDV_RESULT%
