package org.postgresql.jdbc3;

public final class Jdbc3SimpleDataSource extends doubles.VendorDataSource {}
