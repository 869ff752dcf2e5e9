package com.ibm.db2.jcc;

public final class DB2SimpleDataSource extends doubles.VendorDataSource {}
