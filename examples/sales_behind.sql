-- The database of sales.sql as it was some days before, with one row that it has lost since.
CREATE DATABASE sales
GO
USE sales
GO
CREATE TABLE customer (
    id int NOT NULL CONSTRAINT PK_customer PRIMARY KEY,
    name nvarchar(60) NOT NULL,
    town nvarchar(40) NULL
)
GO
CREATE TABLE invoice (
    id int NOT NULL CONSTRAINT PK_invoice PRIMARY KEY,
    customer int NOT NULL CONSTRAINT FK_invoice_customer REFERENCES customer (id),
    amount decimal(12,2) NOT NULL,
    placed datetime NOT NULL
)
GO
INSERT customer VALUES (1, N'Ada', N'Oslo'), (2, N'Bo', N'Quito'), (4, N'Cy', NULL)
GO
INSERT invoice VALUES (1, 1, 10.50, '20260105')
GO
