-- A database to try quillon on: quillon sandbox --load examples/sales.sql
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
INSERT customer VALUES (1, N'Ada', N'Oslo'), (2, N'Bo', N'Lima'), (3, N'Zoë', N'Zürich')
GO
INSERT invoice VALUES (1, 1, 10.50, '20260105'), (2, 3, 1999.99, '20260106 13:45:30')
GO
