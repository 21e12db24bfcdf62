CREATE DATABASE [Source]
GO
CREATE DATABASE [Target]
GO
USE [Source]
GO
CREATE TABLE [dbo].[Customers] ([id] int NOT NULL CONSTRAINT [PK_Customers] PRIMARY KEY, [name] nvarchar(50) NULL, [since] datetime NULL)
GO
CREATE UNIQUE INDEX [UX_Customers_name] ON [dbo].[Customers] ([name])
GO
CREATE TABLE [dbo].[Orders] ([id] int NOT NULL CONSTRAINT [PK_Orders] PRIMARY KEY, [customer] int NOT NULL CONSTRAINT [FK_Orders_Customers] REFERENCES [dbo].[Customers] ([id]), [total] money NULL, [note] nvarchar(20) NULL)
GO
CREATE TABLE [dbo].[Same] ([id] int NOT NULL CONSTRAINT [PK_Same] PRIMARY KEY, [flag] bit NOT NULL)
GO
CREATE TABLE [dbo].[NoKey] ([text] nvarchar(10) NULL)
GO
CREATE TABLE [dbo].[OnlyHere] ([id] int NOT NULL CONSTRAINT [PK_OnlyHere] PRIMARY KEY)
GO
CREATE TABLE [dbo].[Types] ([id] int NOT NULL CONSTRAINT [PK_Types] PRIMARY KEY, [bit] bit NULL, [tinyint] tinyint NULL, [smallint] smallint NULL, [bigint] bigint NULL, [real] real NULL, [float] float NULL, [money] money NULL, [decimal] decimal(12,2) NULL, [wide] decimal(38,2) NULL, [datetime] datetime NULL, [char] char(5) NULL, [varchar] varchar(20) NULL, [nvarchar] nvarchar(20) NULL, [binary] varbinary(8) NULL, [guid] uniqueidentifier NULL, [nothing] nvarchar(5) NULL)
GO
INSERT INTO [dbo].[Customers] VALUES (1, N'Ada', '2001-02-03T04:05:06')
INSERT INTO [dbo].[Customers] VALUES (2, N'Grace', NULL)
INSERT INTO [dbo].[Customers] VALUES (3, N'Łukasz O''Neill', '1999-12-31T23:59:59')
INSERT INTO [dbo].[Orders] VALUES (10, 1, 12.5, N'first')
INSERT INTO [dbo].[Orders] VALUES (11, 2, NULL, NULL)
INSERT INTO [dbo].[Orders] VALUES (12, 3, 3, N'only here')
INSERT INTO [dbo].[Same] VALUES (1, 1)
INSERT INTO [dbo].[Same] VALUES (2, 0)
INSERT INTO [dbo].[NoKey] VALUES (N'a')
INSERT INTO [dbo].[Types] VALUES (1, 1, 200, -5, 1234567890123, 0.5, 0.25, 12.3456, 1234567.89, 123456789012345678901234567890123456.78, '2001-02-03T04:05:06', 'abc', 'text', N'Größe', 0x00FF10, '0E984725-C51C-4BF4-9960-E1C80E27ABA0', NULL)
GO
USE [Target]
GO
CREATE TABLE [dbo].[Customers] ([id] int NOT NULL CONSTRAINT [PK_Customers] PRIMARY KEY, [name] nvarchar(50) NULL, [since] datetime NULL)
GO
CREATE UNIQUE INDEX [UX_Customers_name] ON [dbo].[Customers] ([name])
GO
CREATE TABLE [dbo].[Orders] ([id] int NOT NULL CONSTRAINT [PK_Orders] PRIMARY KEY, [customer] int NOT NULL CONSTRAINT [FK_Orders_Customers] REFERENCES [dbo].[Customers] ([id]), [total] money NULL, [note] nvarchar(20) NULL)
GO
CREATE TABLE [dbo].[Same] ([id] int NOT NULL CONSTRAINT [PK_Same] PRIMARY KEY, [flag] bit NOT NULL)
GO
CREATE TABLE [dbo].[NoKey] ([text] nvarchar(10) NULL)
GO
CREATE TABLE [dbo].[Types] ([id] int NOT NULL CONSTRAINT [PK_Types] PRIMARY KEY, [bit] bit NULL, [tinyint] tinyint NULL, [smallint] smallint NULL, [bigint] bigint NULL, [real] real NULL, [float] float NULL, [money] money NULL, [decimal] decimal(12,2) NULL, [wide] decimal(38,2) NULL, [datetime] datetime NULL, [char] char(5) NULL, [varchar] varchar(20) NULL, [nvarchar] nvarchar(20) NULL, [binary] varbinary(8) NULL, [guid] uniqueidentifier NULL, [nothing] nvarchar(5) NULL)
GO
INSERT INTO [dbo].[Customers] VALUES (1, N'Ada', '2001-02-03T04:05:06')
INSERT INTO [dbo].[Customers] VALUES (2, N'Hopper', NULL)
INSERT INTO [dbo].[Customers] VALUES (4, N'Only there', NULL)
INSERT INTO [dbo].[Orders] VALUES (10, 1, 12.5, N'first')
INSERT INTO [dbo].[Orders] VALUES (11, 2, 1, NULL)
INSERT INTO [dbo].[Orders] VALUES (13, 4, 3, N'only there')
INSERT INTO [dbo].[Same] VALUES (1, 1)
INSERT INTO [dbo].[Same] VALUES (2, 0)
INSERT INTO [dbo].[NoKey] VALUES (N'a')
GO
