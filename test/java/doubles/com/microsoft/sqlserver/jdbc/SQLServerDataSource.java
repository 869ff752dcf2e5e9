package com.microsoft.sqlserver.jdbc;

public final class SQLServerDataSource extends doubles.VendorDataSource {}
